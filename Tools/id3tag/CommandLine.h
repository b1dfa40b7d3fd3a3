// The tool's command line: frame definitions and where the tag is to go.
// An option that opens a frame may be followed by its modifiers; the first option that is none adds the frame to the
// tag. All complaints go to standard error. Single-threaded, as getopt is; argv texts are changed in place and
// borrowed.

#pragma once

#include <stddef.h>
#include <stdint.h>

#include "id3tag/ID3Builder.h"

/// Where the tag is to go. The texts point into argv.
struct Destination {
    const char* outputFile = nullptr;
    const char* address = nullptr;
    const char* port = nullptr;
    int repeat = 0;  // 1: the segmenter repeats the tag at the beginning of every segment

    bool hasAddress() const { return address && port; }
};

/// Reads the whole command line and adds every frame to `tag`. False if the tool is to stop: help was asked for, or
/// what is wrong has been said on standard error. Does not return for -v, which prints `versionText` and exits.
bool ReadCommandLine(int argc, char* argv[], const char* versionText, ID3TagRef tag, Destination* destination);

/// Reads exactly `size` bytes of the file. 0, or -1 after a message on standard error.
int ReadSourceFile(const char* path, uint8_t* buffer, size_t size);
