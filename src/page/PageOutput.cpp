// VexlPage output: the page's text collects in the caller's string, or in a
// buffer of the page that goes to the standard output in pieces of 4096
// characters or more.
#include <cstdarg>
#include <cstdio>

#include "page/VexlPage.h"

namespace {
constexpr unsigned kFlushThreshold = 4096;
}

void VexlPage::AppendOutput(const NyxString& text) { AppendOutput(text.GetString(), text.GetSize()); }

void VexlPage::AppendOutput(const char* text, unsigned size) {
    NyxString& sink = Sink();
    sink.AppendBytes(text, size);
    FlushIfFull(sink);
}

void VexlPage::AppendOutput(char c) {
    NyxString& sink = Sink();
    sink.Append(c);
    FlushIfFull(sink);
}

void VexlPage::AppendOutput(const HtmlObject& object) { AppendOutput(object, nullptr, 0); }

void VexlPage::AppendOutput(const HtmlObject& object, const NyxString* const* replacements, unsigned count) {
    NyxString& sink = Sink();
    object.AppendOutputTo(sink, replacements, count);
    FlushIfFull(sink);
}

void VexlPage::AppendListedObject(int index, bool lineEnd) {
    if (HtmlList == nullptr) return;
    NyxString& sink = Sink();
    HtmlList->AppendOutputOf(index, sink);
    if (lineEnd) sink.Append('\n');
    FlushIfFull(sink);
}

void VexlPage::FlushIfFull(const NyxString& sink) {
    const WalkBudget& walks = *Walks;
    if (walks.MaxOutput != 0 && walks.OutputSent + sink.GetLength() > walks.MaxOutput && !walks.Ended) EndForOutput();
    // The caller's string only grows; the page's own buffer goes out in pieces.
    if (!OutputIsExternal && sink.GetLength() >= kFlushThreshold) FlushOutput();
}

void VexlPage::FailWrite(const NyxString& problem) {
    // The top page answers for the request; child pages tell it.
    VexlPage* top = this;
    while (top->ParentPage != nullptr) top = top->ParentPage;
    if (top->WriteProblem.IsEmpty()) top->WriteProblem = problem;
    Walks->End("a file could not be written");
}

void VexlPage::EndForOutput() {
    Walks->End("MaxOutputBytes");
    PrintOutput("<P>The page was cut short: it wrote more than %llu bytes (QuinceConfig MaxOutputBytes).</P>\n",
                static_cast<unsigned long long>(Walks->MaxOutput));
}

NyxString& VexlPage::MakeOwnBuffer() {
    // A child page shares this buffer; it lives as long as the page.
    if (OwnBuffer == nullptr) OwnBuffer = new NyxString();
    Output = OwnBuffer;
    OutputIsExternal = false;
    return *Output;
}

void VexlPage::PrintOutput(NyxString format, ...) {
    va_list arguments;
    va_start(arguments, format);
    NyxString text;
    text.VPrintf(format, arguments);
    va_end(arguments);
    AppendOutput(text);
}

void VexlPage::FlushOutput() {
    if (OutputIsExternal || Output == nullptr) return;
    Walks->OutputSent += Output->GetSize();
    const bool written = std::fwrite(Output->GetString(), 1, Output->GetSize(), stdout) == Output->GetSize();
    Output->SetLength(0);
    if (!written) FailWrite(NyxString("the page could not be written whole to the standard output"));
}

void VexlPage::ErrorOutput(unsigned line, const NyxString& format, ...) {
    AppendOutput(NyxString("<h3>VEXL Parse Error</h3>\n"));
    const NyxString path = Shown(HtmlList != nullptr ? HtmlList->GetFilePath() : NyxString());
    PrintOutput("<p>In file <b>%S</b> Line <b>%u</b>\n", &path, line);
    va_list arguments;
    va_start(arguments, format);
    NyxString message;
    message.VPrintf(format, arguments);
    va_end(arguments);
    AppendOutput(message);
}
