#include <algorithm>
#include <random>

#include "DataIO/TavByteStreams/TavByteStream.h"
#include "DataIO/TavByteStreams/TavForkByteStream.h"
#include "Tests/Support/FileURLs.h"

using namespace luvia_test;

namespace {

ZoRef<LuByteStreamRef> streamOver(const std::filesystem::path& path, uint32_t options)
{
    TavFileForkRef fork = nullptr;
    ZoRef<LuByteStreamRef> stream;
    EXPECT_EQ(TavFileForkOpenMainByZoURL(fileURL(path).get(), options, &fork), 0);
    EXPECT_EQ(TavByteStreamCreateForTavFileFork(fork, 0, nullptr, stream.outParam()), 0);
    return stream;
}

// Reads that jump and reads that run on, of all sizes, between writes: a string is the model.
TEST(ForkByteStream, agreesWithAString)
{
    std::mt19937 random(20260311);
    const auto upTo = [&](size_t most) { return static_cast<size_t>(random() % (most + 1)); };
    const TemporaryFolder folder;
    std::string model(300000, '\0');
    for (char& c : model) c = static_cast<char>(random());
    const auto stream = streamOver(madeFile(folder / "file", model), kTavFileOpen_ReadAndWrite);
    size_t at = 0;
    for (int turn = 0; turn < 5000; ++turn) {
        const size_t kind = upTo(9);
        if (kind < 3) at = upTo(model.size() + 100);
        const size_t size = upTo(kind == 9 ? 200000 : kind > 6 ? 5000 : 20);
        size_t count = 99;
        if (kind == 0) {
            const std::string bytes(size, static_cast<char>(random()));
            ASSERT_EQ(TavByteStreamWrite(stream.get(), size, static_cast<int64_t>(at), bytes.data(), &count), 0);
            ASSERT_EQ(count, size);
            if (size > 0) model.resize(std::max(model.size(), at + size));
            model.replace(std::min(at, model.size()), size, bytes);
        } else {
            std::string bytes(size, '?');
            const std::string expected = at < model.size() ? model.substr(at, size) : "";
            ASSERT_EQ(TavByteStreamRead(stream.get(), size, static_cast<int64_t>(at), bytes.data(), &count),
                      size > 0 && expected.empty() ? kTavByteStreamError_EndOfStream : 0);
            ASSERT_EQ(bytes.substr(0, count), expected) << "turn " << turn;
        }
        at += size;
    }
    EXPECT_EQ(contentsOf(folder / "file"), model);
}

TEST(ForkByteStream, endsWhereTheFileEndsNow)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = madeFile(folder / "file", std::string(10000, 'x'));
    const auto stream = streamOver(path, kTavFileOpen_Read);
    char byte;
    size_t count = 0;
    ZoRef<LuBlockBufferRef> block;
    ASSERT_EQ(TavByteStreamRead(stream.get(), 1, 9999, &byte, &count), 0);
    EXPECT_EQ(TavByteStreamReadAndCreateBlockBuffer(stream.get(), SIZE_MAX, 4000, block.outParam(), &count), 0)
        << "a size that is a lie costs no memory";
    EXPECT_EQ(count, 6000u);
    ASSERT_EQ(truncate(path.c_str(), 5000), 0);
    EXPECT_EQ(TavByteStreamRead(stream.get(), 1, 0, &byte, &count), 0);
    EXPECT_EQ(TavByteStreamRead(stream.get(), 1, 5000, &byte, &count), kTavByteStreamError_EndOfStream);
    EXPECT_EQ(TavByteStreamRead(stream.get(), SIZE_MAX, INT64_MAX, &byte, &count), kTavByteStreamError_EndOfStream);
    EXPECT_EQ(TavByteStreamWrite(stream.get(), 1, 0, "y", &count), kLuByteStreamError_ReadOnlyStream);
}

}  // namespace
