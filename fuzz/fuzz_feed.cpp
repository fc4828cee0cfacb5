#include "FuzzMachine.h"
#include "update/ReleaseFeed.h"

using namespace torvelane;

/// Whatever a feed answers, only https addresses of bounded tags come out of it, and a version is the same as itself.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Release release = parseRelease(fuzz::bytesOf(data, size));
    fuzz::require(release.tag.size() <= 256 && release.version.size() <= release.tag.size());
    for (const QString& url : {release.archiveUrl, release.signatureUrl})
        fuzz::require(url.isEmpty() || url.startsWith(QLatin1String("https:"), Qt::CaseInsensitive));
    fuzz::require(isSameVersion(release.version, release.version));
    return 0;
}
