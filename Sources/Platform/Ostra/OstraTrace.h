// The trace of the platform's own modules: a note's static pair, and the line that is written while it is on.

#pragma once

#include "Foundation/ZoBase.h"

/// The emitter word, and the level that a module tests before it writes: silent, it costs one read.
struct TavTraceNote {
    uintptr_t emitter;
    int32_t level;
};

static inline bool tavTraceIsOn(const TavTraceNote* note)
{
    return ZO_UNLIKELY(__atomic_load_n(&note->level, __ATOMIC_RELAXED) != 0);
}

static inline void tavTraceNoteRegister(TavTraceNote*, const char*, const char*) {}
static inline void tav_log(int32_t, uint32_t, uintptr_t, uintptr_t, const char*, ...) ZO_PRINTF(5, 6);
static inline void tav_log(int32_t, uint32_t, uintptr_t, uintptr_t, const char*, ...) {}
