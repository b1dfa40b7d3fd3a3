// Arbitrary bytes through luvia-inspect, in both of its forms: they agree, and the JSON is JSON.

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "Foundation/Objects/ZoRef.h"
#include "Platform/Common/TavNote.h"
#include "Utilities/TavBlockBufferUtilities.h"
#include "inspect/Inspection.h"

namespace {

// RFC 8259, as strict as it is; what is read is dropped.
class JSONReader {
public:
    explicit JSONReader(std::string_view text) : text_(text) {}
    bool isDocument() { return value() && (blanks(), text_.empty()); }

private:
    char next() const { return text_.empty() ? '\0' : text_[0]; }
    void blanks()
    {
        while (next() == ' ' || next() == '\n') text_.remove_prefix(1);
    }
    bool take(std::string_view expected)
    {
        blanks();
        if (!text_.starts_with(expected)) return false;
        text_.remove_prefix(expected.size());
        return true;
    }
    bool digits()
    {
        const auto* const start = text_.data();
        while (isdigit(static_cast<unsigned char>(next()))) text_.remove_prefix(1);
        return text_.data() > start;
    }
    bool number()
    {
        take("-");
        const bool startsWithZero = next() == '0';
        const size_t before = text_.size();
        if (!digits() || (startsWithZero && before - text_.size() > 1)) return false;
        if (next() == '.' && (text_.remove_prefix(1), !digits())) return false;
        if (next() != 'e') return true;
        text_.remove_prefix(1);
        if (next() == '+' || next() == '-') text_.remove_prefix(1);
        return digits();
    }
    bool string()
    {
        if (!take("\"")) return false;
        for (; !text_.empty() && next() != '"'; text_.remove_prefix(1)) {
            if (static_cast<unsigned char>(next()) < 0x20) return false;
            if (next() != '\\') continue;
            text_.remove_prefix(1);
            if (next() == '"' || next() == '\\') continue;
            if (next() != 'u' || strspn(text_.data() + 1, "0123456789abcdef") < 4) return false;
        }
        return take("\"");
    }
    bool items(std::string_view close, bool named)
    {
        if (take(close)) return true;
        do {
            if ((named && !(string() && take(":"))) || !value()) return false;
        } while (take(","));
        return take(close);
    }
    bool value()
    {
        if (take("{")) return items("}", true);
        if (take("[")) return items("]", false);
        if (next() == '"') return string();
        return take("true") || take("false") || take("null") || number();
    }

    std::string_view text_;
};

struct Output {
    explicit Output(bool json, const uint8_t* data, size_t size)
    {
        ZoRef<LuBlockBufferRef> buffer;
        ZoRef<LuByteStreamRef> stream;
        if (TavCreateBlockBufferCopyingMemoryBlock(nullptr, data, size, buffer.outParam()) != 0 ||
            LuByteStreamCreateForBlockBuffer(nullptr, buffer.get(), 0, stream.outParam()) != 0)
            abort();
        FILE* const file = open_memstream(&text, &length);
        result = inspectBoxes(stream.get(), {.json = json, .name = "a \"name\"\n\xff"}, file);
        fclose(file);
    }
    ~Output() { free(text); }
    char* text = nullptr;
    size_t length = 0;
    Inspected result;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    gTavLogControl = kTavLogControl_Off;
    if (size == 0) return 0;
    const Output asText(false, data, size), asJSON(true, data, size);
    if (asText.result != asJSON.result) abort();
    const bool isSilent = asJSON.result == Inspected::kNotAMovie;
    if (isSilent ? asJSON.length + asText.length > 0 : !JSONReader({asJSON.text, asJSON.length}).isDocument()) abort();
    return 0;
}
