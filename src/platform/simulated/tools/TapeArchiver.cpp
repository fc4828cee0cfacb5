#include "platform/simulated/tools/Tool.h"

#include <QProcess>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {

/// tar.exe -tf ARCHIVE, or -xf ARCHIVE -C FOLDER. The tool that Windows ships is libarchive's bsdtar, and so is this
/// one: Debian's.
int runTar(const ToolRun& run)
{
    const bool lists = run.arguments.size() == 2 && run.arguments[0] == "-tf"_L1;
    const bool unpacks = run.arguments.size() == 4 && run.arguments[0] == "-xf"_L1 && run.arguments[2] == "-C"_L1;
    if (!lists && !unpacks)
        return failUnknown(u"tar.exe"_s, run);
    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedChannels);
    program.start(u"bsdtar"_s, run.arguments);
    if (!program.waitForStarted()) {
        run.output.error(u"The simulated tar.exe needs bsdtar, of Debian's libarchive-tools"_s);
        return 1;
    }
    program.waitForFinished(-1);
    return program.exitStatus() == QProcess::NormalExit ? program.exitCode() : 1;
}

} // namespace torvelane::platform::simulated
