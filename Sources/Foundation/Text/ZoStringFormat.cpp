// printf(3)'s formats, and "%@" for objects. Everything but "%@" and wide characters is rendered by snprintf(3), one
// conversion at a time, so that the text is the C library's own.

#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cwchar>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoStringPrivate.h"

using zo::TextBuffer;
using zo::TextView;

/// How an argument is passed.
enum class ArgumentKind : uint8_t { None, Int, Word, Double, LongDouble, Pointer };

/// A width or a precision.
struct FormatAmount {
    enum { Absent, Fixed, FromArgument } source = Absent;
    int value = 0;  // Fixed: the amount; FromArgument: the argument's position, 0 for the next one
};

struct FormatConversion {
    uint8_t flags = 0;  // bits by place in kFlagCharacters
    int position = 0;   // 0: the next argument
    FormatAmount width, precision;
    char length[3] = {};
    char letter = 0;
};

static constexpr char kFlagCharacters[] = "-+ #0'I";
static constexpr uint8_t kFlagLeft = 1;
static constexpr int kPositionLimit = 64;

struct FormatCursor {
    TextView text;
    ZoIndex at = 0;

    bool atEnd() const { return at >= text.length; }
    /// To the next '%', or the end.
    void skipLiteral()
    {
        if (!text.wide) {
            const auto* found = memchr(text.ascii() + at, '%', static_cast<size_t>(text.length - at));
            at = found ? static_cast<const uint8_t*>(found) - text.ascii() : text.length;
        }
        while (!atEnd() && text[at] != '%') ++at;
    }
    /// 0 at the end and for what is not ASCII: no conversion has either.
    char peek() const
    {
        const UniChar unit = atEnd() ? UniChar{0} : text[at];
        return unit < 0x80 ? static_cast<char>(unit) : '\0';
    }
    bool take(char character)
    {
        if (peek() != character || atEnd()) return false;
        ++at;
        return true;
    }
    bool atDigit() const { return peek() >= '0' && peek() <= '9'; }
    /// Decimal digits, none as 0; false past INT_MAX.
    bool takeNumber(int& number)
    {
        int64_t value = 0;
        for (; atDigit(); ++at) {
            value = 10 * value + (peek() - '0');
            if (value > INT_MAX) return false;
        }
        number = static_cast<int>(value);
        return true;
    }
};

/// "n$", if it stands here. False for a position that is out of range.
static bool takePosition(FormatCursor& cursor, int& position)
{
    const ZoIndex start = cursor.at;
    int number = 0;
    if (!cursor.takeNumber(number)) return false;
    if (cursor.at > start && cursor.take('$')) {
        position = number;
        return number >= 1 && number <= kPositionLimit;
    }
    cursor.at = start;
    return true;
}

static bool takeAmount(FormatCursor& cursor, FormatAmount& amount)
{
    if (cursor.take('*')) {
        amount.source = FormatAmount::FromArgument;
        return takePosition(cursor, amount.value);
    }
    amount.source = FormatAmount::Fixed;
    return cursor.takeNumber(amount.value);
}

static void takeLength(FormatCursor& cursor, char (&length)[3])
{
    const char first = cursor.peek();
    if (!first || !strchr("hlLqjzZt", first)) return;
    ++cursor.at;
    length[0] = first == 'Z' ? 'z' : first;
    if ((first == 'h' || first == 'l') && cursor.take(first)) length[1] = first;
    if (first == 'q') length[0] = length[1] = 'l';
}

/// How the conversion's argument is passed; false for a combination that there is not.
static bool argumentKind(const FormatConversion& conversion, ArgumentKind& kind)
{
    const char* length = conversion.length;
    const bool plain = length[0] == 0;
    const bool isLong = length[0] == 'l' && length[1] == 0;
    const bool isLongLong = length[0] == 'L' || length[1] == 'l';
    switch (conversion.letter) {
        case 'd':
        case 'i':
        case 'u':
        case 'o':
        case 'x':
        case 'X':
        case 'b':
        case 'B': kind = plain || length[0] == 'h' ? ArgumentKind::Int : ArgumentKind::Word; return true;
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G':
        case 'a':
        case 'A':
            kind = isLongLong ? ArgumentKind::LongDouble : ArgumentKind::Double;
            return plain || isLong || isLongLong;
        case 'c': kind = ArgumentKind::Int; return plain || isLong;
        case 's': kind = ArgumentKind::Pointer; return plain || isLong;
        case 'p':
        case '@': kind = ArgumentKind::Pointer; return plain;
        case 'm':
        case '%': kind = ArgumentKind::None; return plain;
        default:  // also 'n', which writes to memory
            return false;
    }
}

/// What stands behind a '%'.
static bool takeConversion(FormatCursor& cursor, FormatConversion& conversion, ArgumentKind& kind)
{
    if (cursor.atDigit() && cursor.peek() != '0' && !takePosition(cursor, conversion.position)) return false;
    while (const char* flag = cursor.peek() ? strchr(kFlagCharacters, cursor.peek()) : nullptr) {
        conversion.flags |= static_cast<uint8_t>(1 << (flag - kFlagCharacters));
        ++cursor.at;
    }
    if ((cursor.atDigit() || cursor.peek() == '*') && !takeAmount(cursor, conversion.width)) return false;
    if (cursor.take('.') && !takeAmount(cursor, conversion.precision)) return false;
    takeLength(cursor, conversion.length);
    conversion.letter = cursor.peek();
    ++cursor.at;
    if (conversion.letter == 'C' || conversion.letter == 'S') {
        if (conversion.length[0]) return false;
        conversion.letter = conversion.letter == 'C' ? 'c' : 's';
        conversion.length[0] = 'l';
    }
    return argumentKind(conversion, kind);
}

union FormatValue {
    int64_t integer;
    long double real;
    const void* pointer;
};

/// The arguments, in order or by position.
struct FormatArguments {
    va_list list;
    bool positional = false;
    int count = 0;
    ArgumentKind kinds[kPositionLimit] = {};
    FormatValue values[kPositionLimit];  // by position; otherwise never touched

    FormatValue take(ArgumentKind kind)
    {
        FormatValue value = {.integer = 0};
        switch (kind) {
            case ArgumentKind::None: break;
            case ArgumentKind::Int: value.integer = va_arg(list, int); break;
            case ArgumentKind::Word: value.integer = va_arg(list, long long); break;
            case ArgumentKind::Double: value.real = va_arg(list, double); break;
            case ArgumentKind::LongDouble: value.real = va_arg(list, long double); break;
            case ArgumentKind::Pointer: value.pointer = va_arg(list, const void*); break;
        }
        return value;
    }
    FormatValue get(int position, ArgumentKind kind) { return position ? values[position - 1] : take(kind); }

    /// Notes that a position is used; false if another use passes it in another way.
    bool declare(int position, ArgumentKind kind)
    {
        ArgumentKind& known = kinds[position - 1];
        if (known != ArgumentKind::None && known != kind) return false;
        known = kind;
        if (position > count) count = position;
        return true;
    }
    /// An argument that no conversion names is passed as an int.
    void takeAll()
    {
        for (int i = 0; i < count; ++i) values[i] = take(kinds[i] == ArgumentKind::None ? ArgumentKind::Int : kinds[i]);
    }
};

/// Checks every conversion before an argument is read, and learns how those with a position are passed.
static bool surveyFormat(const TextView& format, FormatArguments& arguments)
{
    FormatCursor cursor{format};
    bool inOrder = false;
    while (!cursor.atEnd()) {
        cursor.skipLiteral();
        if (!cursor.take('%')) break;
        FormatConversion conversion;
        ArgumentKind kind;
        if (!takeConversion(cursor, conversion, kind)) return false;
        const struct {
            bool used;
            int position;
            ArgumentKind kind;
        } uses[] = {
            {conversion.width.source == FormatAmount::FromArgument, conversion.width.value, ArgumentKind::Int},
            {conversion.precision.source == FormatAmount::FromArgument, conversion.precision.value, ArgumentKind::Int},
            {kind != ArgumentKind::None, conversion.position, kind},
        };
        for (const auto& use : uses) {
            if (!use.used) continue;
            if (use.position == 0)
                inOrder = true;
            else if (!arguments.declare(use.position, use.kind))
                return false;
        }
    }
    arguments.positional = arguments.count > 0;
    return !(inOrder && arguments.positional);
}

/// A conversion whose width and precision are known; -1 is none.
struct ResolvedConversion {
    FormatConversion conversion;
    int64_t width = -1;
    int precision = -1;
};

static bool resolveAmounts(ResolvedConversion& resolved, FormatArguments& arguments)
{
    FormatConversion& conversion = resolved.conversion;
    if (conversion.width.source == FormatAmount::Fixed) resolved.width = conversion.width.value;
    if (conversion.width.source == FormatAmount::FromArgument) {
        resolved.width = arguments.get(conversion.width.value, ArgumentKind::Int).integer;
        if (resolved.width < 0) {
            conversion.flags |= kFlagLeft;
            resolved.width = -resolved.width;
        }
        if (resolved.width > INT_MAX) return false;
    }
    if (conversion.precision.source == FormatAmount::Fixed) resolved.precision = conversion.precision.value;
    if (conversion.precision.source == FormatAmount::FromArgument) {
        resolved.precision = static_cast<int>(arguments.get(conversion.precision.value, ArgumentKind::Int).integer);
        if (resolved.precision < 0) resolved.precision = -1;
    }
    return true;
}

static int printWithLibrary(char* buffer, size_t size, const char* format, ArgumentKind kind, const FormatValue& value)
{
    switch (kind) {
        case ArgumentKind::None: return snprintf(buffer, size, format, 0);
        case ArgumentKind::Int: return snprintf(buffer, size, format, static_cast<int>(value.integer));
        case ArgumentKind::Word: return snprintf(buffer, size, format, static_cast<long long>(value.integer));
        case ArgumentKind::Double: return snprintf(buffer, size, format, static_cast<double>(value.real));
        case ArgumentKind::LongDouble: return snprintf(buffer, size, format, value.real);
        case ArgumentKind::Pointer: return snprintf(buffer, size, format, value.pointer);
    }
    return -1;
}

/// The conversion as snprintf(3) takes it, with its amounts written out.
static void writeConversion(const ResolvedConversion& resolved, char (&text)[64])
{
    char* to = text;
    *to++ = '%';
    for (int i = 0; kFlagCharacters[i]; ++i)
        if (resolved.conversion.flags & (1 << i)) *to++ = kFlagCharacters[i];
    char* const end = text + sizeof text;
    if (resolved.width >= 0) to = std::to_chars(to, end, resolved.width).ptr;
    if (resolved.precision >= 0) {
        *to++ = '.';
        to = std::to_chars(to, end, resolved.precision).ptr;
    }
    for (const char* length = resolved.conversion.length; *length; ++length) *to++ = *length;
    *to++ = resolved.conversion.letter;
    *to = 0;
}

static bool appendFromLibrary(TextBuffer& out, ZoAllocatorRef allocator, const ResolvedConversion& resolved,
                              ArgumentKind kind, const FormatValue& value, int savedErrno)
{
    char format[64];
    writeConversion(resolved, format);
    char buffer[256];
    errno = savedErrno;  // "%m" prints it
    const int length = printWithLibrary(buffer, sizeof buffer, format, kind, value);
    if (length < 0) {
        if (errno == ENOMEM) out.fail();
        return false;
    }
    if (static_cast<size_t>(length) < sizeof buffer) {
        zo::decodeUTF8Leniently(reinterpret_cast<const uint8_t*>(buffer), static_cast<size_t>(length), out);
        return out.ok();
    }
    const ZoIndex size = ZoIndex{length} + 1;
    auto* text = static_cast<char*>(ZoAllocatorAllocate(allocator, size, 0));
    if (!text) {
        out.fail();
        return false;
    }
    errno = savedErrno;
    printWithLibrary(text, static_cast<size_t>(size), format, kind, value);
    zo::decodeUTF8Leniently(reinterpret_cast<const uint8_t*>(text), static_cast<size_t>(length), out);
    ZoAllocatorDeallocate(allocator, text);
    return out.ok();
}

/// Text in a field; `size` is what the text counts for against the width.
static bool appendPadded(TextBuffer& out, const ResolvedConversion& resolved, const TextView& text, ZoIndex size)
{
    const ZoIndex padding = resolved.width > size ? resolved.width - size : 0;
    const bool left = resolved.conversion.flags & kFlagLeft;
    if (!left) out.appendFill(' ', padding);
    out.append(text);
    if (left) out.appendFill(' ', padding);
    return out.ok();
}

static bool appendObject(TextBuffer& out, const ResolvedConversion& resolved, ZoTypeRef object)
{
    ZoRef<ZoStringRef> description;
    if (!object) {
        description.reset(ZOSTR("(null)"));
    } else if (zoIsOfType(object, kZoTypeIDString)) {
        description = ZoRef<ZoStringRef>::retain(static_cast<ZoStringRef>(object));
    } else {
        const ZoRuntimeClass* cls = _ZoRuntimeGetClassWithTypeID(ZoGetTypeID(object));
        if (cls && cls->copyFormattingDesc) description.reset(cls->copyFormattingDesc(object, nullptr));
        if (!description) description.reset(ZoCopyDescription(object));
    }
    if (!description) {
        out.fail();
        return false;
    }
    TextView text = zo::textView(description.get());
    if (resolved.precision >= 0 && resolved.precision < text.length) text = text.sub(0, resolved.precision);
    return appendPadded(out, resolved, text, text.length);
}

/// Wide characters as C's locales with UTF-8 print them: widths and precisions count bytes, and no character is cut.
static bool appendWide(TextBuffer& out, const ResolvedConversion& resolved, const wchar_t* characters, size_t count,
                       bool asBytes, ZoAllocatorRef allocator)
{
    alignas(UniChar) uint8_t lent[256];
    TextBuffer text(allocator, lent, sizeof lent);
    ZoIndex bytes = 0;
    for (size_t i = 0; i < count; ++i) {
        const auto codePoint = static_cast<uint32_t>(characters[i]);
        if (codePoint > 0x10FFFF || zo::isSurrogate(codePoint)) return false;
        const ZoIndex size = asBytes || codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
        if (resolved.precision >= 0 && bytes + size > resolved.precision) break;
        bytes += size;
        if (!text.appendCodePoint(codePoint)) {
            out.fail();
            return false;
        }
    }
    return appendPadded(out, resolved, text.view(), bytes);
}

static bool appendWideString(TextBuffer& out, const ResolvedConversion& resolved, const wchar_t* text,
                             ZoAllocatorRef allocator)
{
    // A precision bounds what may be read, and no character takes less than a byte.
    if (!text) text = resolved.precision < 0 || resolved.precision >= 6 ? L"(null)" : L"";
    const size_t count = resolved.precision < 0 ? wcslen(text) : wcsnlen(text, static_cast<size_t>(resolved.precision));
    return appendWide(out, resolved, text, count, false, allocator);
}

static bool appendConversion(TextBuffer& out, ZoAllocatorRef allocator, ResolvedConversion& resolved, ArgumentKind kind,
                             FormatArguments& arguments, int savedErrno)
{
    if (!resolveAmounts(resolved, arguments)) return false;
    const FormatValue value = arguments.get(kind == ArgumentKind::None ? 0 : resolved.conversion.position, kind);
    const bool isWide = resolved.conversion.length[0] == 'l';
    switch (resolved.conversion.letter) {
        case '%': return out.appendASCII("%", 1);
        case '@': return appendObject(out, resolved, value.pointer);
        case 'c': {
            // A byte is the character of that number, a wide character itself.
            const auto character = static_cast<wchar_t>(isWide ? value.integer : value.integer & 0xFF);
            resolved.precision = -1;
            return appendWide(out, resolved, &character, 1, !isWide, allocator);
        }
        case 's':
            if (isWide) return appendWideString(out, resolved, static_cast<const wchar_t*>(value.pointer), allocator);
            if (value.pointer && resolved.width < 0 && resolved.precision < 0) {
                const auto* text = static_cast<const char*>(value.pointer);
                zo::decodeUTF8Leniently(reinterpret_cast<const uint8_t*>(text), strlen(text), out);
                return out.ok();
            }
            break;
        default: break;
    }
    return appendFromLibrary(out, allocator, resolved, kind, value, savedErrno);
}

static bool appendFormatted(TextBuffer& out, ZoAllocatorRef allocator, const TextView& format, va_list list)
{
    const int savedErrno = errno;
    FormatArguments arguments;
    if (!surveyFormat(format, arguments)) return false;
    va_copy(arguments.list, list);
    if (arguments.positional) arguments.takeAll();
    FormatCursor cursor{format};
    bool ok = true;
    while (ok && !cursor.atEnd()) {
        const ZoIndex start = cursor.at;
        cursor.skipLiteral();
        ok = out.append(format.sub(start, cursor.at - start));
        if (!ok || !cursor.take('%')) continue;
        ResolvedConversion resolved;
        ArgumentKind kind;
        ok = takeConversion(cursor, resolved.conversion, kind) &&
             appendConversion(out, allocator, resolved, kind, arguments, savedErrno) && out.length() <= INT_MAX;
    }
    va_end(arguments.list);
    errno = savedErrno;
    return ok;
}

ZoStringRef ZoStringCreateWithFormatAndArguments(ZoAllocatorRef allocator, ZoDictionaryRef, ZoStringRef format,
                                                 va_list arguments)
{
    if (!ZO_EXPECT(zo::isString(format), "the format is not a string")) return nullptr;
    alignas(UniChar) uint8_t lent[512];
    TextBuffer text(allocator, lent, sizeof lent);
    if (!appendFormatted(text, allocator, zo::textView(format), arguments)) return nullptr;
    return zo::stringCreate(allocator, text.view());
}

ZoStringRef ZoStringCreateWithFormat(ZoAllocatorRef allocator, ZoDictionaryRef formatOptions, ZoStringRef format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    ZoStringRef string = ZoStringCreateWithFormatAndArguments(allocator, formatOptions, format, arguments);
    va_end(arguments);
    return string;
}

void ZoStringAppendFormatAndArguments(ZoMutableStringRef string, ZoDictionaryRef, ZoStringRef format, va_list arguments)
{
    if (!zo::isMutableString(string) || !ZO_EXPECT(zo::isString(format), "the format is not a string")) return;
    alignas(UniChar) uint8_t lent[512];
    TextBuffer text(nullptr, lent, sizeof lent);
    if (!appendFormatted(text, nullptr, zo::textView(format), arguments) && text.ok()) return;
    TextBuffer whole(string);
    if (!text.ok()) whole.fail();  // the process stops, as where the text itself finds no memory
    whole.append(text.view());
    whole.giveBack(string);
}

void ZoStringAppendFormat(ZoMutableStringRef string, ZoDictionaryRef formatOptions, ZoStringRef format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    ZoStringAppendFormatAndArguments(string, formatOptions, format, arguments);
    va_end(arguments);
}
