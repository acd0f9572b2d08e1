// VexlScript: choosing the language and running Quince. A statement script
// becomes a procedure once per list entry; a structured one only brings its
// procedures into the context.
#include "script/VexlScript.h"

#include "foundation/IniFile.h"
#include "quince/QuinceContext.h"
#include "page/VexlPage.h"

VexlScript::VexlScript(VexlPage* page) : VexlBase(page), FileStem(PageFileStem()) {}

int VexlScript::Start(int index, HtmlObject*) {
    HtmlObject* tag = Page->HtmlList->GetEntry(index);
    if (tag->IsEndTag()) {
        Page->AppendOutput(NyxString("</SCRIPT>\n"));
        return index;
    }

    int languageIndex = tag->FindEntry("language");
    if (languageIndex == 0) languageIndex = tag->FindEntry("lang");
    if (languageIndex == 0) languageIndex = tag->FindEntry("type");
    bool quince = languageIndex == 0;
    NyxString interpreter;
    if (!quince) {
        const NyxString language = tag->GetEntry(languageIndex)->GetValue();
        if (language.IsEqualTo("quince", false)) {
            quince = true;
        } else {
            Page->Context->GetConfig().GetEntryValue("ScriptInterpreters", language, interpreter, "");
        }
    }

    if ((quince || interpreter.IsNotEmpty()) && tag->GetStrValue("src").IsNotEmpty() &&
        !Page->Confinement->Admits(tag->GetStrValue("src"))) {
        const NyxString source = Page->Shown(tag->GetStrValue("src"));
        NyxString message;
        message.Printf("<P>SCRIPT src '%S' lies outside the site (QuinceConfig ConfineFiles).</P>\n", &source);
        Page->ErrorOutput(tag->GetLineNum(), "%S", &message);
        return index + 2;
    }
    if (quince) {
        const int result = tag->FindEntry("src") != 0 ? ExecuteQuinceFile(tag) : ExecuteQuinceBuffer(tag, index);
        if (result == 0) return -1;
    } else if (interpreter.IsNotEmpty()) {
        ExecuteNonQuinceScript(interpreter, tag, index);
    } else {
        Page->AppendOutput(tag->Output());
        return index;
    }
    return index + 2;
}

int VexlScript::ExecuteQuinceFile(HtmlObject* tag) {
    const int parseOutput = tag->GetIntValue("parseoutput") != 0 ? 1 : 0;
    Page->Context->SetScriptFile(tag->GetStrValue("src"), 1);
    return RunQuinceProcedure("main", nullptr, parseOutput);
}

int VexlScript::ExecuteQuinceBuffer(HtmlObject* tag, int index) {
    const int parseOutput = static_cast<int>(tag->GetIntValue("parseoutput"));
    const NyxString cached = tag->GetStrValue("cachedproc");
    if (cached.IsNotEmpty()) return RunQuinceProcedure(cached, nullptr, parseOutput);

    HtmlObject* body = Page->HtmlList->GetEntry(index + 1);
    if (body == nullptr) return 0;
    NyxString text = body->Output();
    const NyxString file = Page->HtmlList->GetFilePath();
    if (Page->Context->ScriptBufferIsStructured(text) != 0) {
        return Page->Context->CompileScriptBuffer(text, file, body->GetLineNum());
    }

    NyxString name;
    name.Printf("%S_%u", &FileStem, static_cast<unsigned>(index));
    if (Page->Context->Procedures.FindProcedure(name) == 0) {
        if (SynthesizeProcedure(index, text, name, "cachedproc", body->GetLineNum()) == 0) return 0;
    } else {
        auto* copy = new HtmlObject(*tag);
        copy->AddEntry(new HtmlTagParam("cachedproc", name, 0));
        Page->HtmlList->ReplaceEntry(index, copy);
    }
    return RunQuinceProcedure(name, nullptr, parseOutput);
}
