#pragma once

#include "platform/simulated/tools/OemText.h"

#include <QString>

#include <cstdio>

namespace torvelane::platform::simulated {

/// Where a simulated tool writes. Windows' tools write in the OEM code page and end their lines with CR and LF, and so
/// do these.
struct ToolOutput {
    std::FILE* out = stdout; ///< Null if the output is thrown away (">nul").
    std::FILE* err = stderr;
    const char* lineEnd = "\r\n";
    QByteArray (*encode)(const QString& text) = toOem;

    void line(const QString& text = {}) const { write(out, text); }
    void error(const QString& text) const { write(err, text); }

private:
    void write(std::FILE* file, const QString& text) const
    {
        if (!file)
            return;
        std::fprintf(file, "%s%s", encode(text).constData(), lineEnd);
        // Both channels usually end in one pipe, where the lines have to come in the order of their writing.
        std::fflush(file);
    }
};

} // namespace torvelane::platform::simulated
