// What the sources of the log and of the notes share. For them only.

#pragma once

#include <dispatch/dispatch.h>

#include <cstdarg>

#include "Core/TavBlockBuffer/LuBlockBuffer.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Ostra/OstraSynchronization.h"

/// Guards the external log file, and the reading of the control preferences as a whole. Reentrant: the reader closes
/// the file through functions that take it again.
extern const TavReentrantMutexRef gTavLogControlMutex;

/// Runs once: reads the control preferences.
void tav_note_initialize_logging();
/// Runs once: records the start for time stamps.
void tav_note_initialize_timestamps();
/// Reads where lines go, the external file and its limit, and whether defaults of notes apply.
OSStatus tav_note_read_control_preferences();
extern bool gAllowAutomaticTavNotes;

class TavLogControlLock {
public:
    TavLogControlLock() { TavReentrantMutexLock(gTavLogControlMutex); }
    ~TavLogControlLock() { TavReentrantMutexUnlock(gTavLogControlMutex); }
    TavLogControlLock(const TavLogControlLock&) = delete;
    TavLogControlLock& operator=(const TavLogControlLock&) = delete;
};

// The external file. Each takes the mutex.

void tav_note_set_external_log_file(const char* path, int64_t sizeLimit, bool isPublic);
/// Opens for appending and sets the destination, to the system log where that fails.
void tav_note_open_external_log_file();
void tav_note_close_external_log_file();
void tav_log_write_external(const char* line, size_t length);

// The block buffer.

/// Makes the queue and an empty buffer, once.
OSStatus tav_log_prepare_block_buffer();
/// Where memory ends the line is dropped, and so are lines about that.
void tav_log_append_to_block_buffer(const char* line, size_t length);
/// Hands the collected lines over and begins anew.
LuBlockBufferRef tav_log_take_block_buffer();

constexpr size_t kTavLogFilteredFormatSize = 512;

/// Copies `format` without its annotations, and without a conversion that its end cuts; whether it asks for an object.
/// `filtered` has kTavLogFilteredFormatSize bytes.
bool CopyFilteredFormatString(const char* format, char* filtered);
void tav_log_internal(uint32_t type, uint32_t flags, const char* format, va_list arguments);
