// What a parser found wrong with an asset, as an ordered list of message dictionaries, while it goes on or gives up.
// Parsers take an optional reporter; with none, messages go nowhere.
// No lock: a reporter belongs to the parse that fills it.

#pragma once

#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

typedef struct TavAssetAnalysisReporter* TavAssetAnalysisReporterRef;

enum {
    kTavAssetAnalysisReporterError_AllocationFailed = -17750,
    kTavAssetAnalysisReporterError_InvalidParameter = -17751,
};

/// Required in every message: a 32-bit number that holds a four-character code; parsers of atoms use 'atom'.
extern const ZoStringRef kTavAssetAnalysisKey_AnalysisType;
extern const ZoStringRef kTavAssetAnalysisKey_DiagnosticInformation;           ///< text
extern const ZoStringRef kTavAssetAnalysisMovieMessageKey_MessageType;         ///< 64-bit number
extern const ZoStringRef kTavAssetAnalysisMovieMessageKey_AtomOffset;          ///< number
extern const ZoStringRef kTavAssetAnalysisMovieMessageKey_AtomType;            ///< number
extern const ZoStringRef kTavAssetAnalysisMovieMessageKey_TrackID;             ///< 32-bit number
extern const ZoStringRef kTavAssetAnalysisMovieMessageKey_TrackType;           ///< 32-bit number
extern const ZoStringRef kTavAssetAnalysisMovieMessageKey_FailureCode;         ///< 32-bit number
extern const ZoStringRef kTavAssetAnalysisMovieMessageKey_AtomContainer;       ///< array of messages inside this one
extern const ZoStringRef kTavAssetAnalysisAtomStreamMessageKey_AtomType;       ///< number
extern const ZoStringRef kTavAssetAnalysisAtomStreamMessageKey_AtomContainer;  ///< array

ZoTypeID TavAssetAnalysisReporterGetTypeID(void);

/// A reporter without messages, which the caller releases.
///
/// kTavAssetAnalysisReporterError_InvalidParameter   `outNewReporter` absent
/// kTavAssetAnalysisReporterError_AllocationFailed   no memory
OSStatus TavAssetAnalysisReporterCreate(ZoAllocatorRef allocator, TavAssetAnalysisReporterRef* outNewReporter);

/// The three below refuse, with kTavAssetAnalysisReporterError_InvalidParameter, an absent reporter, an absent message,
/// a message of fewer than two entries, and one without kTavAssetAnalysisKey_AnalysisType. Where there is no memory to
/// edit the newest message it stays as it was, and the status is 0.

/// Appends the message, retained. kTavAssetAnalysisReporterError_AllocationFailed where there is no memory for it, also
/// where the two below add it.
OSStatus TavAssetAnalysisReporterAddMessage(TavAssetAnalysisReporterRef reporter, ZoDictionaryRef messageDict);
/// Makes the message a part of the newest one: appends it to that one's AtomContainer, and sets that one's MessageType.
/// Without a message so far, adds it.
OSStatus TavAssetAnalysisReporterEditAndAppendMessage(TavAssetAnalysisReporterRef reporter, ZoDictionaryRef messageDict,
                                                      int32_t messageType);
/// Folds the message into the newest one: its TrackID and TrackType take the place of the old ones, and its
/// DiagnosticInformation goes in front of the old text. Without a message so far, adds it.
OSStatus TavAssetAnalysisReporterEditAndCombineMessage(TavAssetAnalysisReporterRef reporter,
                                                       ZoDictionaryRef messageDict);

/// A snapshot of the messages, which the caller releases.
///
/// kTavAssetAnalysisReporterError_InvalidParameter   an argument absent
/// kTavAssetAnalysisReporterError_AllocationFailed   no memory
OSStatus TavAssetAnalysisReporterCopyMessages(TavAssetAnalysisReporterRef reporter, ZoArrayRef* messagesOut);

ZO_EXTERN_C_END
