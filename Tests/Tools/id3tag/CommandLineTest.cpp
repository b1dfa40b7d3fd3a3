#include "id3tag/CommandLine.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "TagBytes.h"

namespace {

struct Outcome {
    bool goesOn = false;  // to the delivery
    std::string complaint;
    bool usage = false;
    std::string tag;
    std::string destination;  // "<file>|<address>|<port>|<repeat>"
};

std::string readAll(int descriptor)
{
    std::string all;
    char piece[4096];
    for (ssize_t got; (got = read(descriptor, piece, sizeof piece)) > 0;) all.append(piece, static_cast<size_t>(got));
    close(descriptor);
    return all;
}

std::string describe(const Destination& destination)
{
    const auto text = [](const char* value) { return std::string(value ? value : "-"); };
    return text(destination.outputFile) + "|" + text(destination.address) + "|" + text(destination.port) + "|" +
           std::to_string(destination.repeat);
}

[[noreturn]] void parseInChild(std::vector<std::string> words, int resultPipe)
{
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    const OwnedTag tag(ID3CreateTag());
    Destination destination;
    const bool goesOn =
        ReadCommandLine(static_cast<int>(words.size()), argv.data(), "the version", tag.get(), &destination);
    const std::string result = std::string(goesOn ? "1" : "0") + describe(destination) + "\n" + generate(tag.get());
    EXPECT_EQ(write(resultPipe, result.data(), result.size()), static_cast<ssize_t>(result.size()));
    _exit(0);
}

// One process a command line: getopt and the option flags keep state for the life of a process.
Outcome parse(std::vector<std::string> words)
{
    words.insert(words.begin(), "id3tag");
    int errorPipe[2], resultPipe[2];
    EXPECT_EQ(pipe(errorPipe), 0);
    EXPECT_EQ(pipe(resultPipe), 0);
    const pid_t child = fork();
    if (child == 0) {
        dup2(errorPipe[1], STDERR_FILENO);
        parseInChild(std::move(words), resultPipe[1]);
    }
    close(errorPipe[1]);
    close(resultPipe[1]);

    Outcome outcome;
    outcome.complaint = readAll(errorPipe[0]);
    const size_t usage = outcome.complaint.find("Usage:id3tag [options]");
    outcome.usage = usage != std::string::npos;
    if (outcome.usage) outcome.complaint.erase(usage);
    const std::string result = readAll(resultPipe[0]);
    if (const size_t end = result.find('\n'); end != std::string::npos) {
        outcome.goesOn = result[0] == '1';
        outcome.destination = result.substr(1, end - 1);
        outcome.tag = result.substr(end + 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    return outcome;
}

struct Frames {
    const char* what;
    std::vector<std::string> words;
    std::string frames;
};

std::string priv(const std::string& owner, const std::string& payload)
{
    return frame("PRIV", owner + "\0"s + payload);
}

const Frames kFrames[] = {
    {"nothing at all", {}, ""},
    {"last frame first",
     {"--title=a", "--artist=b", "--album", "c"},
     frame("TALB", "\3c\0"s) + frame("TPE1", "\3b\0"s) + frame("TIT2", "\3a\0"s)},
    {"empty title", {"--title="}, frame("TIT2", "\3\0"s)},
    {"one dash, cut names, words between",
     {"stray", "-titl=a", "words", "--arti", "b"},
     frame("TPE1", "\3b\0"s) + frame("TIT2", "\3a\0"s)},
    {"short forms", {"-ta", "-dx", "-u", "u", "-r"}, frame("WXXX", "\3\0u"s) + frame("TXXX", "\3x\0a\0"s)},
    {"the last description counts", {"-t", "a", "-d", "x", "-d", "y"}, frame("TXXX", "\3y\0a\0"s)},
    {"a typed text frame drops its description", {"-t", "a", "--text-type=tit2", "-d", "x"}, frame("TIT2", "\3a\0"s)},
    {"TXXX is a user frame", {"-t", "a", "-d", "x", "--text-type=txxx"}, frame("TXXX", "\3x\0a\0"s)},
    {"the last type counts",
     {"-t", "a", "-d", "x", "--text-type=TALB", "--text-type=TxXx"},
     frame("TXXX", "\3x\0a\0"s)},
    {"URL types",
     {"-u", "u", "--url-type=wcom", "-u", "v", "-d", "x", "--url-type=WXXX"},
     frame("WXXX", "\3x\0v"s) + frame("WCOM", "u")},
    {"explicit flags",
     {"--explicit=0", "--explicit=12", "--explicit=2", "--explicit=3", "--explicit=x", "--explicit="},
     priv("com.orvane.radio.explicit", "\0"s) + priv("com.orvane.radio.explicit", "x") +
         priv("com.orvane.radio.explicit", "3") + priv("com.orvane.radio.explicit", "\2") +
         priv("com.orvane.radio.explicit", "\1") + priv("com.orvane.radio.explicit", "\0"s)},
    {"private frames",
     {"--jingle=a", "--zib=b", "--qorid=", "--jingle=d", "-d", "other"},
     priv("other", "d") + priv("com.orvane.radio.qorid", "") + priv("com.orvane.radio.ping.zib", "b") +
         priv("com.orvane.radio.ping.jingle", "a")},
    {"a type option before any frame does nothing then", {"--text-type=TIT2", "-t", "a"}, frame("TXXX", "\3\0a\0"s)},
    {"but is remembered: the next flagged option is taken for it",
     {"--text-type=TIT2", "-t", "a", "--title=tpe1"},
     frame("TPE1", "\3a\0"s)},
    {"and then the option so taken is remembered in its turn",
     {"--text-type=TIT2", "-t", "a", "--title=TPE1", "--artist=x", "--album=y"},
     frame("TPE1", "\3y\0"s) + frame("TIT2", "\3x\0"s) + frame("TPE1", "\3a\0"s)},
    {"destinations close a frame",
     {"--title=a", "-r", "--artist=b", "-a", "h:1"},
     frame("TPE1", "\3b\0"s) + frame("TIT2", "\3a\0"s)},
};

TEST(CommandLine, makesFrames)
{
    for (const Frames& row : kFrames) {
        SCOPED_TRACE(row.what);
        std::vector<std::string> words = row.words;
        words.insert(words.end(), {"-o", "out"});
        const Outcome outcome = parse(words);
        EXPECT_TRUE(outcome.goesOn);
        EXPECT_EQ(outcome.complaint, "");
        EXPECT_EQ(outcome.tag, tagOf(row.frames));
    }
}

struct Stop {
    const char* what;
    std::vector<std::string> words;
    const char* complaint;
    bool usage;
};

const Stop kStops[] = {
    {"nothing", {}, "No output defined\n", true},
    {"only words", {"a", "b"}, "No output defined\n", true},
    {"help", {"-o", "f", "-h", "--bogus"}, "", true},
    {"version", {"-v", "-h"}, "the version\n", false},
    {"missing argument", {"-o"}, "id3tag: option requires an argument -- 'o'\nUnknown argument\n", true},
    {"description behind a closed frame", {"--title=a", "-o", "f", "-d", "x"}, "Unknown argument\n", true},
    {"text type of a URL",
     {"-u", "a", "--text-type=TIT2"},
     "The --text-type option can only be used with text tags\n",
     true},
    {"text type of a fixed frame",
     {"--title=a", "--text-type=TIT2"},
     "The --text-type option can only be used with text tags\n",
     true},
    {"picture type of a text",
     {"-t", "a", "--picture-type=1"},
     "The --picture-type option can only be used with picture tags\n",
     true},
    {"object type of a property list",
     {"--plist=/dev/null", "--generic-object-type=a/b"},
     "The --object-type option can only be used with object tags\n",
     true},
    {"text type too short", {"-t", "a", "--text-type=TIT"}, "Invalid text type (TIT)\n", true},
    {"text type too long", {"-t", "a", "--text-type=tit22"}, "Invalid text type (tit22)\n", true},
    {"empty text type", {"-t", "a", "--text-type="}, "Invalid text type ()\n", true},
    {"URL type of another family", {"-u", "a", "--url-type=xyzw"}, "Invalid url type (xyzw)\n", true},
    {"picture type not a number", {"-i", "/dev/null", "--picture-type=1a"}, "Invalid picture type (1a)\n", true},
    {"picture type of three digits", {"-i", "/dev/null", "--picture-type=003"}, "Invalid picture type (003)\n", true},
    {"picture type past the table",
     {"-i", "/dev/null", "--picture-type=99", "-h"},
     "ID3 frame creaton failed\n",
     false},
    {"object type without a slash",
     {"--generic-object=/dev/null", "--generic-object-type=ab"},
     "Invalid mime type (ab)\n",
     true},
    {"remembered type option meets another frame",
     {"--text-type=TIT2", "-t", "a", "--title=b"},
     "Invalid text type (b)\n",
     true},
    {"source file missing",
     {"-i", "/nowhere/x"},
     "Failed getting source file size (No such file or directory)\n",
     false},
};

TEST(CommandLine, stopsWithTheRightWords)
{
    for (const Stop& row : kStops) {
        SCOPED_TRACE(row.what);
        const Outcome outcome = parse(row.words);
        EXPECT_FALSE(outcome.goesOn);
        EXPECT_EQ(outcome.complaint, row.complaint);
        EXPECT_EQ(outcome.usage, row.usage);
    }
}

struct Where {
    const char* what;
    std::vector<std::string> words;
    const char* destination;
    const char* complaint;
};

const Where kWhere[] = {
    {"file", {"-o", "f"}, "f|-|-|0", ""},
    {"the last of each counts", {"-o", "f", "-o", "g", "-a", "h:1", "-a", "i:2"}, "g|i|2|0", ""},
    {"the last colon parts address and port", {"-a", "a:b:c", "-r"}, "-|a:b|c|1", ""},
    {"empty parts are parts", {"-a", ":"}, "-|||0", ""},
    {"an address without a port keeps the earlier one",
     {"-a", "h:1", "-a", "host", "-r", "-r"},
     "-|h|1|1",
     "Invalid address/port\n"},
};

TEST(CommandLine, findsTheDestinations)
{
    for (const Where& row : kWhere) {
        SCOPED_TRACE(row.what);
        const Outcome outcome = parse(row.words);
        EXPECT_TRUE(outcome.goesOn);
        EXPECT_EQ(outcome.destination, row.destination);
        EXPECT_EQ(outcome.complaint, row.complaint);
        EXPECT_FALSE(outcome.usage);
    }
}

}  // namespace
