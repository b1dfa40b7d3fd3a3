#include <gtest/gtest.h>
#include <pthread.h>

#include "DataIO/TavByteStreams/TavByteStream.h"
#include "Platform/Common/CommonThread.h"
#include "Tests/Support/FakeByteStream.h"
#include "Tests/Support/Objects.h"
#include "Utilities/TavDigestSHA1.h"

using namespace luvia_test;

namespace {

std::string digestOf(FakeByteStream& stream, OSStatus* statusOut)
{
    ZoRef<ZoDataRef> digest;
    *statusOut = TavByteStreamCopySHA1Digest(stream.get(), digest.outParam());
    return digest ? bytesOf(digest.get()) : "";
}

TEST(ByteStreamDigest, goesOverTheWholeStreamHoweverItReads)
{
    OSStatus status = -1;
    for (const size_t length : {size_t{0}, size_t{1}, size_t{65535}, size_t{65536}, size_t{65537}, size_t{200001}}) {
        std::string bytes(length, '\0');
        for (size_t i = 0; i < length; ++i) bytes[i] = static_cast<char>(i * 31 >> 3);
        TavDigestSHA1 context;
        TavDigestSHA1Reset(&context);
        TavDigestSHA1AppendData(&context, bytes.data(), bytes.size());
        uint8_t expected[kTavDigestSHA1Length];
        TavDigestSHA1GetDigest(&context, expected);
        for (const size_t mostBytes : {SIZE_MAX, size_t{777}}) {
            FakeByteStream stream(bytes);
            stream.mostBytesARead = mostBytes;
            EXPECT_EQ(digestOf(stream, &status), std::string(expected, expected + sizeof(expected))) << length;
            EXPECT_EQ(status, 0);
        }
    }
}

TEST(ByteStreamDigest, endsWithTheFirstFailure)
{
    FakeByteStream stream(std::string(100000, 'x')), empty{FakeByteStream::Empty()}, shorter("x");
    OSStatus status = 0;
    stream.onRead = [](int64_t offset) { return offset == 0 ? 0 : FakeByteStream::kFailure; };
    EXPECT_EQ(digestOf(stream, &status), "");
    EXPECT_EQ(status, FakeByteStream::kFailure);
    EXPECT_EQ(digestOf(empty, &status), "");
    EXPECT_EQ(status, kTavBaseObjectError_NoSuchOperation);
    shorter.claimedLength = 1000;  // and then gives nothing, with success
    EXPECT_EQ(digestOf(shorter, &status), "");
    EXPECT_EQ(status, kTavByteStreamError_EndOfStream);
    EXPECT_EQ(TavByteStreamCopySHA1Digest(stream.get(), nullptr), kTavBaseObjectError_ParamErr);
}

TEST(ByteStreamDigest, isAbortedWithItsThread)
{
    FakeByteStream stream(std::string(1 << 20, 'x'));
    int reads = 0;
    stream.onRead = [&reads](int64_t) -> OSStatus { return ++reads == 3 ? TavThreadAbort(pthread_self()) : 0; };
    OSStatus status = 0;
    EXPECT_EQ(digestOf(stream, &status), "");
    EXPECT_EQ(status, kTavByteStreamError_DigestAborted);
    EXPECT_EQ(reads, 3);
    stream.onRead = nullptr;
    EXPECT_EQ(digestOf(stream, &status).size(), 20u) << "an abort is over when it is over";
}

}  // namespace
