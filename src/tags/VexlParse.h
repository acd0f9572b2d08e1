// VexlParse: the walker. It takes the page's objects one after the other and
// turns each into output, a change of state, or the work of a block handler.
#pragma once

#include "tags/VexlBase.h"

class Variable;

class VexlParse : public VexlBase {
public:
    explicit VexlParse(VexlPage* page);
    ~VexlParse() override;

    // Walks from `index` until the list ends (returns the index behind it),
    // the stop object is met (returns 1), or a handler answers -1.
    int Start(int index, HtmlObject* stop) override;

    // Directives that change neither the walk nor the page's objects.
    void HandleSetHeader(HtmlObject* tag);
    void HandleSetVar(HtmlObject* tag);
    // A tag written by the default path is followed by a line end, except a
    // TEXTAREA start tag (whose content must not gain one).
    static bool LineEndBehind(const HtmlObject& tag) { return LineEndBehind(tag.GetTagId(), tag.IsEndTag()); }
    static bool LineEndBehind(int id, int isEnd);

    Variable* HtmlFileVariable = nullptr;  // owned; made on first user tag

private:
    int Walk(int index, HtmlObject* stop);
    void WriteDefault(int index);
    bool PrintsAsItIs(int index);
    int WriteStretch(int index);
    bool IsUserTag(int index);
    void HandleFrame(HtmlObject* tag);
    void HandleForm(HtmlObject* tag);
    void WriteHiddenField(const NyxString& name, const NyxString& value);
    void WriteExactHiddenField(Variable* variable);
    void HandleTranslation(HtmlObject* tag);
    void HandleDefineTag(HtmlObject* tag);
    int HandleUserTag(HtmlObject* tag, int index);
};
