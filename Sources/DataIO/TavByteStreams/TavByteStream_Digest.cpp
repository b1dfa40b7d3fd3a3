#include <algorithm>
#include <cstdlib>
#include <memory>

#include "DataIO/TavByteStreams/TavByteStream.h"
#include "Foundation/Values/ZoData.h"
#include "Platform/Common/CommonThread.h"
#include "Platform/Common/TavSignal.h"
#include "Utilities/TavDigestSHA1.h"

static constexpr size_t kPieceLength = 65536;

// Feeds the whole stream to the digest, until `aborted` is set from another thread.
static OSStatus digestStream(LuByteStreamRef stream, TavDigestSHA1* digest, uint8_t* piece,
                             const volatile bool& aborted)
{
    int64_t length = 0;
    TAV_TRY(TavByteStreamGetEntireLength(stream, &length));
    for (int64_t position = 0; position < length && !__atomic_load_n(&aborted, __ATOMIC_SEQ_CST);) {
        const auto wanted = static_cast<size_t>(std::min<int64_t>(length - position, kPieceLength));
        size_t count = 0;
        TAV_TRY(TavByteStreamRead(stream, wanted, position, piece, &count));
        // A stream that claims success and gives nothing would keep us here for ever.
        if (count == 0)
            return TAV_SIGNAL_FROM("TavByteStreamCopySHA1Digest", kTavByteStreamError_EndOfStream,
                                   "stream gave no bytes");
        TavDigestSHA1AppendData(digest, piece, count);
        position += static_cast<int64_t>(count);
    }
    return 0;
}

OSStatus TavByteStreamCopySHA1Digest(LuByteStreamRef stream, ZoDataRef* sha1DigestOut)
{
    if (!sha1DigestOut) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "sha1DigestOut NULL");
    *sha1DigestOut = nullptr;
    struct Freed {
        void operator()(uint8_t* bytes) const { free(bytes); }
    };
    const std::unique_ptr<uint8_t, Freed> piece(static_cast<uint8_t*>(malloc(kPieceLength)));
    if (!piece) return TAV_SIGNAL(kTavBaseObjectError_AllocationFailed, "couldn't malloc data buffer");
    struct Destroyed {
        void operator()(TavDigestSHA1* digest) const { TavDigestSHA1Destroy(digest); }
    };
    const std::unique_ptr<TavDigestSHA1, Destroyed> digest(TavDigestSHA1Create());
    if (!digest) return TAV_SIGNAL(kTavBaseObjectError_AllocationFailed, "no digest");

    bool aborted = false;
    TavThreadAbortActionToken token = nullptr;
    const OSStatus registered = TavThreadRegisterAbortAction(
        [](void* flag) { __atomic_store_n(static_cast<bool*>(flag), true, __ATOMIC_SEQ_CST); }, &aborted, &token);
    if (registered != 0 && !__atomic_load_n(&aborted, __ATOMIC_SEQ_CST)) return registered;
    OSStatus status = digestStream(stream, digest.get(), piece.get(), aborted);
    if (registered == 0) TavThreadUnregisterAbortAction(token);
    if (__atomic_load_n(&aborted, __ATOMIC_SEQ_CST)) return kTavByteStreamError_DigestAborted;
    TAV_TRY(status);

    uint8_t bytes[kTavDigestSHA1Length];
    TavDigestSHA1GetDigest(digest.get(), bytes);
    *sha1DigestOut = ZoDataCreate(ZoGetAllocator(stream), bytes, sizeof(bytes));
    return *sha1DigestOut ? 0 : TAV_SIGNAL(kTavBaseObjectError_AllocationFailed, "no data object");
}
