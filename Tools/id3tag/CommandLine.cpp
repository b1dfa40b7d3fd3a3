#include "id3tag/CommandLine.h"

#include <ctype.h>
#include <errno.h>
#include <getopt.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "id3tag/LargeBlocks.h"
#include "id3tag/Malloced.h"

// clang-format off
static const char kHelpMessage[] =
    "Usage:%s [options] [ID3 frame definition 1] [ID3 frame definition 2] ...\n"
    "where options are:\n"
    "\t-h               | --help                          : displays this help message\n"
    "\t-o <file>        | --output-file=<file>            : output file for the generated ID3 tag.\n"
    "\t-a <addr>:<port> | --output-address=<addr>:<port>  : IP address and port to send the generated tag to rillcutter\n"
    "\t-r               | --repeat                        : when sent to rillcutter, repeat the ID3 tag at the beginning of every segment\n"
    "\t-v               | --version                       : show version number\n"
    "\n"
    "For [ID3 frame definition n], some default tags can be generated:\n"
    "\t--title=<string>                                   : title tag with <string> as payload\n"
    "\t--artist=<string>                                  : artist tag with <string> as payload\n"
    "\t--album=<string>                                   : album tag with <string> as payload\n"
    "\n"
    "To inject Picture tags, use the following:\n"
    "\t-i <path>        | --picture=<path>                : picture tag with the content of the file at <path> as payload\n"
    "\t--picture-type=<type>                              : optional numeric picture type. It not present, picture type 16 (Movie/video screen capture) is used.\n"
    "\t-d               | --description                   : optional description of the content of the tag. If not present, an empty string is used.\n"
    "\n"
    "To inject an Orvane Plist file as a TAG, use the following:\n"
    "\t--plist=<file name>                                : embeds the Orvane Plist file <file name>\n"
    "\t-d               | --description                   : optional description of the content of the tag. If not present, an empty string is used.\n"
    "\n"
    "To inject a binary object from a file as a TAG, use the following:\n"
    "\t--generic-object=<file name>                       : embeds the content of the file <file name>\n"
    "\t--generic-object-type=<type>                       : optional mime type of the object. It not present, \"application/octet-stream\" is used.\n"
    "\t-d               | --description                   : optional description of the content of the tag. If not present, an empty string is used.\n"
    "\n"
    "To inject text tags, use the following:\n"
    "\t-t <string>      | --text=<string>                 : text tag with <string> as payload\n"
    "\t--text-type=<type>                                 : optional 4 character frame type for the text tag. If not present, the TXXX (User defined text) is used.\n"
    "\t-d               | --description                   : optional description of the content of the tag. If not present, an empty string is used.\n"
    "\n"
    "To inject URL tags, use the following:\n"
    "\t-u <url>         | --url=<url>                     : url tag with <url> as payload\n"
    "\t--url-type=<type>\t                           : optional 4 character frame type for the url tag. If not present, the WXXX (User defined url) is used.\n"
    "\n"
    "Valid 4 character frame types are defined in the ID3 specifications. Common tags include:\n"
    "\n"
    "Text:\n"
    "\tTIT2: title\n"
    "\tTALB: album\n"
    "\tTRCK: track number\n"
    "\tTPE1: artist\n"
    "\tTRSN: internet radio station name\n"
    "\tTRSO: internet radio station owner\n"
    "\n"
    "URL:\n"
    "\tWCOM: commercial information\n"
    "\tWOAR: official artist page\n"
    "\tWORS: official internet station home page\n";

// Set by getopt where an option has no letter; cleared when the option has been acted upon. The flag of a type option
// that comes while no frame is open stays set, and the next flagged option behind a frame is taken for it.
static int gTextTypeSet, gURLTypeSet, gPictureTypeSet, gObjectTypeSet;
static int gTitleSet, gArtistSet, gAlbumSet, gObjectSet, gPlistSet;

static const char getopt_string[] = "a:d:hi:o:rt:u:v";
static const option long_options[] = {
    {"output-address",      required_argument, nullptr,          'a'},
    {"description",         required_argument, nullptr,          'd'},
    {"help",                no_argument,       nullptr,          'h'},
    {"picture",             required_argument, nullptr,          'i'},
    {"output-file",         required_argument, nullptr,          'o'},
    {"repeat",              no_argument,       nullptr,          'r'},
    {"version",             no_argument,       nullptr,          'v'},
    {"text",                required_argument, nullptr,          't'},
    {"url",                 required_argument, nullptr,          'u'},
    {"explicit",            required_argument, nullptr,          'e'},
    {"jingle",              required_argument, nullptr,          'j'},
    {"zib",                 required_argument, nullptr,          'I'},
    {"qorid",               required_argument, nullptr,          'A'},
    {"text-type",           required_argument, &gTextTypeSet,    1},
    {"url-type",            required_argument, &gURLTypeSet,     1},
    {"picture-type",        required_argument, &gPictureTypeSet, 1},
    {"generic-object-type", required_argument, &gObjectTypeSet,  1},
    {"artist",              required_argument, &gArtistSet,      1},
    {"title",               required_argument, &gTitleSet,       1},
    {"album",               required_argument, &gAlbumSet,       1},
    {"generic-object",      required_argument, &gObjectSet,      1},
    {"plist",               required_argument, &gPlistSet,       1},
    {},
};
// clang-format on

namespace {

constexpr off_t kSourceSizeLimit = 0x10000000;
// Room behind a payload, so that the tag, which has headers around it, can take over its memory.
constexpr size_t kFramingRoom = 64 << 10;

using Payload = Malloced<uint8_t>;

enum class OpenKind : uint8_t { None, Text, URL, Picture, Object, Fixed };

struct OpenFrame {
    OpenKind kind = OpenKind::None;
    uint32_t code = 0;
    const char* subtype = nullptr;
    const char* description = nullptr;
    const char* sourcePath = nullptr;
    Payload payload;
    uint64_t payloadLength = 0;
};

enum class PayloadSource : uint8_t { TextWithTerminator, Text, ExplicitFlag, File };

struct FrameOption {
    int value;  // what getopt returns
    int* flag;  // for value 0: which option it was
    OpenKind kind;
    uint32_t code;
    const char* subtype;
    const char* description;
    PayloadSource source;
};

// clang-format off
constexpr FrameOption kFrameOptions[] = {
    {0,   &gTitleSet,  OpenKind::Fixed,   kID3FrameText,     "TIT2", nullptr, PayloadSource::TextWithTerminator},
    {0,   &gArtistSet, OpenKind::Fixed,   kID3FrameText,     "TPE1", nullptr, PayloadSource::TextWithTerminator},
    {0,   &gAlbumSet,  OpenKind::Fixed,   kID3FrameText,     "TALB", nullptr, PayloadSource::TextWithTerminator},
    {0,   &gObjectSet, OpenKind::Object,  kID3FrameObject,   "application/octet-stream", nullptr, PayloadSource::File},
    {0,   &gPlistSet,  OpenKind::Fixed,   kID3FrameObject,   "application/xml", nullptr, PayloadSource::File},
    {'t', nullptr,     OpenKind::Text,    kID3FrameUserText, nullptr, nullptr, PayloadSource::TextWithTerminator},
    {'u', nullptr,     OpenKind::URL,     kID3FrameUserURL,  nullptr, nullptr, PayloadSource::Text},
    {'i', nullptr,     OpenKind::Picture, kID3FramePicture,  "16", nullptr, PayloadSource::File},
    {'e', nullptr,     OpenKind::Fixed,   kID3FramePrivate,  nullptr, "com.orvane.radio.explicit", PayloadSource::ExplicitFlag},
    {'j', nullptr,     OpenKind::Fixed,   kID3FramePrivate,  nullptr, "com.orvane.radio.ping.jingle", PayloadSource::Text},
    {'I', nullptr,     OpenKind::Fixed,   kID3FramePrivate,  nullptr, "com.orvane.radio.ping.zib", PayloadSource::Text},
    {'A', nullptr,     OpenKind::Fixed,   kID3FramePrivate,  nullptr, "com.orvane.radio.qorid", PayloadSource::Text},
};
// clang-format on

// A type option behind the frame that it belongs to.
struct Modifier {
    int* flag;
    OpenKind kind;
    const char* wrongKindComplaint;
    bool (*accepts)(const char* value);
    const char* invalidValueComplaint;
    const char* userFrameID;     // absent: the value names no frame
    uint32_t userFrameCode;      // the frame of that ID, which has a description
    uint32_t standardFrameCode;  // every other frame of the family
};

bool isFrameIDOf(const char* value, int family)
{
    return strlen(value) == 4 && toupper(static_cast<unsigned char>(value[0])) == family;
}

bool isPictureType(const char* value)
{
    const size_t length = strlen(value);
    if (length > 2) return false;
    for (size_t i = 0; i < length; i++) {
        if (!isdigit(static_cast<unsigned char>(value[i]))) return false;
    }
    return true;
}

const Modifier kModifiers[] = {
    {&gTextTypeSet, OpenKind::Text, "The --text-type option can only be used with text tags\n",
     [](const char* value) { return isFrameIDOf(value, 'T'); }, "Invalid text type (%s)\n", "TXXX", kID3FrameUserText,
     kID3FrameText},
    {&gURLTypeSet, OpenKind::URL, "The --url-type option can only be used with url tags\n",
     [](const char* value) { return isFrameIDOf(value, 'W'); }, "Invalid url type (%s)\n", "WXXX", kID3FrameUserURL,
     kID3FrameURL},
    {&gPictureTypeSet, OpenKind::Picture, "The --picture-type option can only be used with picture tags\n",
     isPictureType, "Invalid picture type (%s)\n", nullptr, 0, 0},
    {&gObjectTypeSet, OpenKind::Object, "The --object-type option can only be used with object tags\n",
     [](const char* value) { return strchr(value, '/') != nullptr; }, "Invalid mime type (%s)\n", nullptr, 0, 0},
};

Payload allocate(size_t size) { return Payload(static_cast<uint8_t*>(mallocLarge(size))); }

void complain(const char* text) { fputs(text, stderr); }

// Reads one command line. Every step is false where the tool is to stop.
class Reader {
public:
    Reader(ID3TagRef tag, const char* programName, const char* versionText, Destination& destination)
        : tag_(tag), programName_(programName), versionText_(versionText), destination_(destination)
    {}

    bool readOption(int value, char* argument);
    bool finish();
    bool stopWithUsage(const char* complaint) const;

private:
    bool isModifier(int value) const;
    bool modify(int value, char* argument);
    bool applyType(const Modifier& modifier, char* value);
    bool flush();
    bool dispatch(int value, char* argument);
    bool open(const FrameOption& option, const char* argument);
    bool readText(const FrameOption& option, const char* text);
    bool readFile(const FrameOption& option, const char* path);
    void setAddress(char* addressAndPort);

    ID3TagRef tag_;
    const char* programName_;
    const char* versionText_;
    Destination& destination_;
    OpenFrame frame_;
};

const Modifier* modifierThatIsSet()
{
    for (const Modifier& modifier : kModifiers) {
        if (*modifier.flag) return &modifier;
    }
    return nullptr;
}

const FrameOption* frameOptionFor(int value)
{
    for (const FrameOption& option : kFrameOptions) {
        if (value == 0 ? option.flag && *option.flag : option.value == value) return &option;
    }
    return nullptr;
}

bool Reader::readOption(int value, char* argument)
{
    if (frame_.kind != OpenKind::None) {
        if (isModifier(value)) return modify(value, argument);
        if (!flush()) return false;
    }
    return dispatch(value, argument);
}

bool Reader::finish()
{
    if (frame_.kind != OpenKind::None && !flush()) return false;
    if (!destination_.outputFile && !destination_.hasAddress()) return stopWithUsage("No output defined\n");
    return true;
}

bool Reader::stopWithUsage(const char* complaint) const
{
    complain(complaint);
    fprintf(stderr, kHelpMessage, programName_);
    return false;
}

bool Reader::isModifier(int value) const { return value == 'd' || (value == 0 && modifierThatIsSet()); }

bool Reader::modify(int value, char* argument)
{
    if (value != 'd') return applyType(*modifierThatIsSet(), argument);
    frame_.description = argument;
    return true;
}

bool Reader::applyType(const Modifier& modifier, char* value)
{
    if (frame_.kind != modifier.kind) return stopWithUsage(modifier.wrongKindComplaint);
    if (!modifier.accepts(value)) {
        fprintf(stderr, modifier.invalidValueComplaint, value);
        return stopWithUsage("");
    }
    if (modifier.userFrameID) {
        for (char* c = value; *c; c++) *c = static_cast<char>(toupper(static_cast<unsigned char>(*c)));
        const bool isUserFrame = strcmp(value, modifier.userFrameID) == 0;
        frame_.code = isUserFrame ? modifier.userFrameCode : modifier.standardFrameCode;
    }
    frame_.subtype = value;
    *modifier.flag = 0;
    return true;
}

bool Reader::flush()
{
    const char* baseName = frame_.sourcePath;
    if (baseName) {
        const char* const slash = strrchr(baseName, '/');
        if (slash) baseName = slash + 1;
    }
    const OSStatus status = ID3AddFrame(tag_, frame_.code, frame_.subtype, frame_.description, baseName,
                                        frame_.payload.get(), frame_.payloadLength);
    if (status < 0) {
        complain("ID3 frame creaton failed\n");
        return false;
    }
    frame_ = {};
    return true;
}

bool Reader::dispatch(int value, char* argument)
{
    if (const FrameOption* const option = frameOptionFor(value)) return open(*option, argument);
    switch (value) {
        case 0: return true;  // a type option, and no frame that it could belong to
        case 'o': destination_.outputFile = argument; return true;
        case 'a': setAddress(argument); return true;
        case 'r': destination_.repeat = 1; return true;
        case 'h': return stopWithUsage("");
        case 'v': fprintf(stderr, "%s\n", versionText_); exit(0);
        default: return stopWithUsage("Unknown argument\n");
    }
}

void Reader::setAddress(char* addressAndPort)
{
    char* const colon = strrchr(addressAndPort, ':');
    if (!colon) {
        complain("Invalid address/port\n");
        return;
    }
    *colon = '\0';
    destination_.address = addressAndPort;
    destination_.port = colon + 1;
}

bool Reader::open(const FrameOption& option, const char* argument)
{
    if (option.flag) *option.flag = 0;
    frame_ = {};
    frame_.kind = option.kind;
    frame_.code = option.code;
    frame_.subtype = option.subtype;
    frame_.description = option.description;
    return option.source == PayloadSource::File ? readFile(option, argument) : readText(option, argument);
}

bool Reader::readText(const FrameOption& option, const char* text)
{
    const size_t length = strlen(text);
    frame_.payload = allocate(length + 1);
    if (!frame_.payload) {
        complain("Memory Allocation failure\n");
        return false;
    }
    memcpy(frame_.payload.get(), text, length + 1);
    switch (option.source) {
        case PayloadSource::TextWithTerminator: frame_.payloadLength = length + 1; break;
        case PayloadSource::ExplicitFlag: {
            uint8_t& flag = *frame_.payload;
            if (flag >= '0' && flag <= '2') flag -= '0';
            frame_.payloadLength = 1;
            break;
        }
        default: frame_.payloadLength = length; break;
    }
    return true;
}

bool Reader::readFile(const FrameOption& option, const char* path)
{
    struct stat status = {};
    if (stat(path, &status) != 0) {
        fprintf(stderr, "Failed getting source file size (%s)\n", strerror(errno));
        return false;
    }
    if (status.st_size >= kSourceSizeLimit) {
        complain("Source file size over 256 MB\n");
        return false;
    }
    const auto size = static_cast<size_t>(status.st_size);
    frame_.payload = allocate(size + kFramingRoom);
    if (!frame_.payload) {
        complain(option.kind == OpenKind::Picture ? "Memory Allocation failure\n" : "Memory Allocation failure");
        return false;
    }
    frame_.payloadLength = size;
    frame_.sourcePath = path;
    return ReadSourceFile(path, frame_.payload.get(), size) == 0;
}

}  // namespace

int ReadSourceFile(const char* path, uint8_t* buffer, size_t size)
{
    FILE* const file = fopen(path, "rb");
    if (!file) {
        fprintf(stderr, "Source file open failed (%s)\n", strerror(errno));
        return -1;
    }
    errno = 0;  // a file that has become shorter is no error of the system
    const bool complete = fread(buffer, 1, size, file) == size;
    if (!complete) fprintf(stderr, "Error reading source file (%s)\n", strerror(errno));
    fclose(file);
    return complete ? 0 : -1;
}

bool ReadCommandLine(int argc, char* argv[], const char* versionText, ID3TagRef tag, Destination* destination)
{
    Reader reader(tag, argv[0], versionText, *destination);
    int value = getopt_long_only(argc, argv, getopt_string, long_options, nullptr);
    if (value == -1) return reader.stopWithUsage("No output defined\n");
    while (value != -1) {
        if (!reader.readOption(value, optarg)) return false;
        value = getopt_long_only(argc, argv, getopt_string, long_options, nullptr);
    }
    return reader.finish();
}
