// The abort list's entries, and the list that they stand in. The list lock guards all of it.

#pragma once

#include <cstdlib>

#include "Platform/Common/CommonThread.h"

struct TavThreadAbortEntry_ {
    TavThreadID thread;           ///< that registered, or the target of a teardown; invalid in the marker of a queue
    uint64_t queueID;             ///< of an abortable queue, or 0
    TavThreadAbortAction action;  ///< absent once unregistered during an abort
    void* refcon;
    TavThreadAbortEntry_* next;
    char queueLabel[64];  ///< for traces
};
/// Entries in order of registration.
struct TavThreadAbortList {
    TavThreadAbortEntry_* head = nullptr;
    TavThreadAbortEntry_** lastNext = &head;

    void append(TavThreadAbortEntry_* entry)
    {
        *lastNext = entry;
        lastNext = &entry->next;
    }
    /// Unlinks and frees the entries that `leaves` is true for.
    template <typename Predicate>
    void remove(Predicate leaves)
    {
        TavThreadAbortEntry_** link = &head;
        while (TavThreadAbortEntry_* entry = *link) {
            if (!leaves(*entry)) {
                link = &entry->next;
                continue;
            }
            *link = entry->next;
            std::free(entry);
        }
        lastNext = link;
    }
};

extern TavThreadAbortList gAbortActionList;
