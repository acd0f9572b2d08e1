// HtmlPageVariable: a script value that holds a copy of a parsed page's
// objects, as the html module hands it to user-tag procedures.
#pragma once

#include <memory>
#include <vector>

#include "values/HtmlObject.h"
#include "values/NyxString.h"
#include "values/Variable.h"

class HtmlObjectList;

// The copied objects, in page order from 0. Never changed once made, so
// clones of a variable may share one.
struct HtmlPageSnapshot {
    NyxString FilePath;
    std::vector<std::unique_ptr<const HtmlObject>> Objects;

    unsigned GetCount() const { return static_cast<unsigned>(Objects.size()); }
    // The object at `index`, or null out of range.
    const HtmlObject* GetObject(long index) const {
        if (index < 0 || static_cast<unsigned long>(index) >= Objects.size()) return nullptr;
        return Objects[static_cast<std::size_t>(index)].get();
    }
};

class HtmlPageVariable : public Variable {
public:
    // Copies every object of `list`; null if memory runs out.
    static HtmlPageVariable* FromList(const HtmlObjectList& list, const NyxString& name);

    ~HtmlPageVariable() override = default;

    // A variable of the same page. The snapshot is immutable, so the copy
    // shares it: as good as a deep copy, at no cost per script call.
    Variable* Clone() const override;
    // The HtmlPageSnapshot (const: the objects are read only).
    void* GetHandleValue() const override;
    NyxString GetHandleName() const override;
    int IsCompatibleWith(const Variable* other) const override;
    void DumpType(NyxString& output, const NyxString& prefix, int depth) const override;
    void DumpValue(NyxString& output, const NyxString& prefix) const override;
    // "[html page: N objects]": the variable printed by a script.
    void AppendText(NyxString& output) const override;

    const HtmlPageSnapshot& GetSnapshot() const { return *Snapshot; }

    // The page variable behind `variable` (itself, or the origin of a
    // duplicate), or null if it is no page variable.
    static const HtmlPageVariable* From(Variable* variable);

    static constexpr const char* kHandleName = "HtmlPage";

private:
    HtmlPageVariable(std::shared_ptr<const HtmlPageSnapshot> snapshot, const NyxString& name);
    HtmlPageVariable(const HtmlPageVariable& other) = default;

    std::shared_ptr<const HtmlPageSnapshot> Snapshot;  // never null
};
