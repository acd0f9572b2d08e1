// File: reads a whole text file and cuts it into lines.
#include "foundation/File.h"

#include <string>
#include <string_view>

#include "foundation/Files.h"

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

File::File(const NyxString& path) : Path(path) {
    std::string contents;
    Loaded = FileReadAll(path, contents);
    std::string_view rest = contents;
    if (rest.substr(0, kByteOrderMark.size()) == kByteOrderMark) rest.remove_prefix(kByteOrderMark.size());
    // Each pass takes one line off the front, so the loop ends; a final line
    // end does not open another line.
    while (!rest.empty()) {
        std::size_t end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        Lines.PushBack(NyxString(line));
    }
}

File::~File() = default;

const NyxString& File::GetLine(unsigned index) const {
    static const NyxString kEmpty;
    return index < Lines.Size() ? Lines[index] : kEmpty;
}
