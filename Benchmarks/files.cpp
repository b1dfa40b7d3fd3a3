// A file of 64 MiB read and written through a fork in pieces of 1 MiB and 4 KiB, beside pread and pwrite; small reads
// through a byte stream over a fork, beside pread for each; whole files as data objects, beside GLib's.
//
// links: glib-2.0
// bar: ForkRead_luvia/1048576 <= 1.05 * ForkRead_pread/1048576
// bar: ForkRead_luvia/4096 <= 1.05 * ForkRead_pread/4096
// bar: ForkWrite_luvia/1048576 <= 1.05 * ForkWrite_pwrite/1048576
// bar: ForkWrite_luvia/4096 <= 1.05 * ForkWrite_pwrite/4096
// bar: StreamRead_luvia/16 <= 0.5 * ForkRead_pread/16
// bar: WholeFile_luvia/67108864 <= 0.9 * WholeFile_glib/67108864
// bar: WholeFile_luvia/1048576 <= 1.05 * WholeFile_glib/1048576
// bar: WholeFile_luvia/4096 <= 1.15 * WholeFile_glib/4096

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <span>
#include <string>

#include "DataIO/TavByteStreams/TavByteStream.h"
#include "DataIO/TavByteStreams/TavForkByteStream.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoData.h"
#include "Platform/Common/CommonFile.h"

// GLib's two calls, as its manual has them: its headers are not where this tree looks.
extern "C" int g_file_get_contents(const char* filename, char** contents, size_t* length, void** error);
extern "C" void g_free(void* memory);

namespace {

constexpr int64_t kFileLength = 64 << 20;

// Gone at the end.
struct File {
    std::string path = "/tmp/luvia-bench.XXXXXX";
    int descriptor;
    ZoRef<ZoURLRef> url;
    explicit File(int64_t length) : descriptor(mkstemp(path.data()))
    {
        const std::string content(static_cast<size_t>(length), 'x');
        if (pwrite(descriptor, content.data(), content.size(), 0) != length) abort();
        url = zoAdopt(ZoURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<const uint8_t*>(path.data()),
                                                              static_cast<ZoIndex>(path.size()), false));
    }
    ~File()
    {
        unlink(path.c_str());
        close(descriptor);
    }
    TavFileForkRef open() const
    {
        TavFileForkRef fork = nullptr;
        if (TavFileForkOpenMainByZoURL(url.get(), kTavFileOpen_ReadAndWrite, &fork) != 0) abort();
        return fork;
    }
};

// One file, and one piece, for all that go through it in pieces: where they lie in memory shows in the times.
const File& sharedFile()
{
    static const File file(kFileLength);
    return file;
}

alignas(4096) char sPiece[1 << 20];

// One piece after the other, from the start again where the file ends.
template <typename Transfer>
void inPieces(benchmark::State& state, Transfer transfer)
{
    const std::span<char> piece(sPiece, static_cast<size_t>(state.range(0)));
    int64_t offset = 0;
    for (auto _ : state) {
        if (!transfer(piece, offset)) state.SkipWithError("transfer");
        offset = (offset + state.range(0)) % kFileLength;
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void ForkRead_luvia(benchmark::State& state)
{
    const TavFileForkRef fork = sharedFile().open();
    size_t count = 0;
    inPieces(state, [&](std::span<char> piece, int64_t offset) {
        return TavFileForkRead(fork, piece.data(), piece.size(), offset, &count) == 0 && count == piece.size();
    });
    TavFileForkClose(fork);
}
void ForkRead_pread(benchmark::State& state)
{
    const int descriptor = sharedFile().descriptor;
    inPieces(state, [&](std::span<char> piece, int64_t offset) {
        return pread(descriptor, piece.data(), piece.size(), offset) == static_cast<ssize_t>(piece.size());
    });
}
void ForkWrite_luvia(benchmark::State& state)
{
    const TavFileForkRef fork = sharedFile().open();
    size_t count = 0;
    inPieces(state, [&](std::span<char> piece, int64_t offset) {
        return TavFileForkWrite(fork, piece.data(), piece.size(), offset, &count) == 0 && count == piece.size();
    });
    TavFileForkClose(fork);
}
void ForkWrite_pwrite(benchmark::State& state)
{
    const int descriptor = sharedFile().descriptor;
    inPieces(state, [&](std::span<char> piece, int64_t offset) {
        return pwrite(descriptor, piece.data(), piece.size(), offset) == static_cast<ssize_t>(piece.size());
    });
}
void StreamRead_luvia(benchmark::State& state)
{
    ZoRef<LuByteStreamRef> stream;
    TavByteStreamCreateForTavFileFork(sharedFile().open(), 0, nullptr, stream.outParam());
    size_t count = 0;
    inPieces(state, [&](std::span<char> piece, int64_t offset) {
        return TavByteStreamRead(stream.get(), piece.size(), offset, piece.data(), &count) == 0;
    });
}
BENCHMARK(ForkRead_luvia)->Arg(1 << 20)->Arg(4096);
BENCHMARK(ForkRead_pread)->Arg(1 << 20)->Arg(4096)->Arg(16);
BENCHMARK(ForkWrite_luvia)->Arg(1 << 20)->Arg(4096);
BENCHMARK(ForkWrite_pwrite)->Arg(1 << 20)->Arg(4096);
BENCHMARK(StreamRead_luvia)->Arg(16);

void WholeFile_luvia(benchmark::State& state)
{
    const File file(state.range(0));
    for (auto _ : state) {
        ZoRef<ZoDataRef> data;
        if (TavFileReadURLAndCreateZoData(file.url.get(), data.outParam()) != 0) state.SkipWithError("read");
        benchmark::DoNotOptimize(ZoDataGetBytePtr(data.get()));
    }
}
void WholeFile_glib(benchmark::State& state)
{
    const File file(state.range(0));
    for (auto _ : state) {
        char* contents = nullptr;
        size_t length = 0;
        if (!g_file_get_contents(file.path.c_str(), &contents, &length, nullptr)) state.SkipWithError("read");
        benchmark::DoNotOptimize(contents);
        g_free(contents);
    }
}
BENCHMARK(WholeFile_luvia)->Arg(64 << 20)->Arg(1 << 20)->Arg(4096);
BENCHMARK(WholeFile_glib)->Arg(64 << 20)->Arg(1 << 20)->Arg(4096);

}  // namespace

BENCHMARK_MAIN();
