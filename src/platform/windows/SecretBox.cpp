#include "platform/SecretBox.h"

#include "platform/windows/Owners.h"

#include <QCryptographicHash>

#include <limits>

#include <dpapi.h>
#include <wincrypt.h>

namespace torvelane::platform {

namespace {

// Separates this program's boxes from those of the user's other programs. It is no secret, and a change of it
// makes everything unreadable that was protected before.
constexpr char entropyText[] = "Torvelane.SecretBox.1";

DATA_BLOB blobOf(const char* data, std::size_t size)
{
    return {static_cast<DWORD>(size), reinterpret_cast<BYTE*>(const_cast<char*>(data))};
}

bool transform(const QByteArray& in, QByteArray& out, bool protect)
{
    out.clear();
    if (static_cast<std::size_t>(in.size()) > std::numeric_limits<DWORD>::max())
        return false;
    DATA_BLOB source = blobOf(in.constData(), static_cast<std::size_t>(in.size()));
    DATA_BLOB entropy = blobOf(entropyText, sizeof(entropyText) - 1);
    DATA_BLOB result{};
    // Never a window: this also runs on worker threads and from a console.
    const BOOL done = protect
        ? CryptProtectData(&source, nullptr, &entropy, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &result)
        : CryptUnprotectData(&source, nullptr, &entropy, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &result);
    const OwnedLocal<BYTE> owner(result.pbData);
    if (!done)
        return false;
    out = QByteArray(reinterpret_cast<const char*>(result.pbData), static_cast<qsizetype>(result.cbData));
    if (!protect && result.pbData)
        SecureZeroMemory(result.pbData, result.cbData);
    return true;
}

// The system lets some damage to the head of its blob pass. A digest in front of it doesn't.
QByteArray digestOf(const QByteArray& blob)
{
    return QCryptographicHash::hash(blob, QCryptographicHash::Sha256);
}

const qsizetype digestLength = QCryptographicHash::hashLength(QCryptographicHash::Sha256);

} // namespace

bool protectSecret(const QByteArray& plain, QByteArray& out)
{
    QByteArray blob;
    const bool done = transform(plain, blob, true);
    out = done ? QByteArray(digestOf(blob) + blob) : QByteArray();
    return done;
}

bool unprotectSecret(const QByteArray& cipher, QByteArray& out)
{
    const QByteArray blob = cipher.mid(digestLength);
    out.clear();
    return cipher.left(digestLength) == digestOf(blob) && transform(blob, out, false);
}

} // namespace torvelane::platform
