// Opening ICU's calendars and date formats while memory is short.

#pragma once

#include <cstdlib>

/// Whether there is memory for ICU to open a calendar or a date format: ICU 72 reads through null pointers where it
/// finds none on the way. Asked for and given back at once, so that a shortage shows here, as nothing is created.
inline bool zoHasRoomForICU()
{
    constexpr size_t kRoom = 1 << 18;
    void* volatile room = std::malloc(kRoom);  // volatile: it is not optimized away
    std::free(room);
    return room;
}
