#include "inspect/Findings.h"

#include <cstdarg>

namespace {

// The boxes that a file has many of bear their number in a path from the first one on, others from the second.
bool isNumbered(OSType type)
{
    return type == LU_FOURCC('t', 'r', 'a', 'k') || type == LU_FOURCC('m', 'o', 'o', 'f') ||
           type == LU_FOURCC('t', 'r', 'a', 'f');
}

void append(memory::String& path, const Findings::Place& place)
{
    if (!path.empty()) path += '/';
    path += codeText(place.type).text;
    if (place.index == 0 && !isNumbered(place.type)) return;
    char number[16];
    snprintf(number, sizeof(number), "[%u]", place.index);
    path += number;
}

}  // namespace

// `place` is the last one entered, or one inside of it.
memory::String Findings::pathTo(const Place& place) const
{
    memory::String path;
    for (const Place& step : path_) append(path, step);
    const bool isInside = path_.empty() || &path_.back() != &place;
    if (isInside && place.type != 0) append(path, place);
    return path;
}

void Findings::report(OSStatus code, const char* format, ...)
{
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    static constexpr Place kFile = {};
    reportInside(path_.empty() ? kFile : path_.back(), code, text);
}

void Findings::reportInside(const Place& place, OSStatus code, const char* text)
{
    if (takeMore()) kept_.push_back({code, place.type, place.offset, pathTo(place), text});
    ++count_;
}

void Findings::write(ValueWriter& writer) const
{
    const size_t left = count_ - kept_.size();
    for (const Finding& finding : kept_) {
        char code[32], offset[32];
        snprintf(code, sizeof(code), "malformed (%d): ", static_cast<int>(finding.code));
        snprintf(offset, sizeof(offset), "offset %lld)", static_cast<long long>(finding.offset));
        const memory::String path = finding.path.empty() ? finding.path : finding.path + ", ";
        writer.remark(code + finding.text + "  (" + path + offset);
    }
    char more[48];
    snprintf(more, sizeof(more), "malformed: %zu more", left);
    if (left > 0) writer.remark(more);
    if (writer.isText()) return;

    writer.key("findings").beginArray(ValueWriter::Layout::kLines);
    for (const Finding& finding : kept_) {
        writer.beginObject();
        writer.key("code").integer(finding.code);
        if (finding.type != 0) writer.key("type").code(finding.type);
        writer.key("offset").integer(finding.offset);
        if (!finding.path.empty()) writer.key("path").string({finding.path.data(), finding.path.size()});
        writer.key("text").string({finding.text.data(), finding.text.size()});
        writer.endObject();
    }
    writer.endArray();
    if (left > 0) writer.key("moreFindings").unsignedInteger(left);
}
