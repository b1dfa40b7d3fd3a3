// What the console log prints while an object of this kind lives; level 0 only, without time stamps.

#pragma once

#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

#include "id3tag/ConsoleLog.h"

class LogCapture {
public:
    LogCapture()
    {
        close(mkstemp(path_));
        OutputInit(0);
        OutputBeQuiet();
        OutputSetFile(path_);
    }
    ~LogCapture()
    {
        OutputClose();
        unlink(path_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// All lines since the last call.
    std::string take()
    {
        std::ifstream file(path_);
        file.seekg(taken_);
        std::stringstream text;
        text << file.rdbuf();
        taken_ += static_cast<long>(text.str().size());
        return text.str();
    }

private:
    char path_[32] = "/tmp/id3tag-log-XXXXXX";
    long taken_ = 0;
};
