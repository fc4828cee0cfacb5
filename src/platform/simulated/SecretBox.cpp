#include "platform/SecretBox.h"

#include "platform/simulated/store/Store.h"

#include <QMessageAuthenticationCode>
#include <QRandomGenerator>
#include <QtEndian>

#include <algorithm>

namespace torvelane::platform {

using namespace simulated;

namespace {

// A box is magic, nonce, cipher text and tag. HMAC-SHA256 makes the key stream (in counter mode) and the tag: it is what
// Qt offers. The simulated PC holds no secret worth more than that; what matters is that damage and foreign users are
// noticed as on Windows.
const QByteArray magic = QByteArrayLiteral("TVSB1");
constexpr qsizetype nonceSize = 16;
constexpr qsizetype blockSize = 32; // SHA-256

QByteArray authenticate(const QByteArray& key, const QByteArray& message)
{
    return QMessageAuthenticationCode::hash(message, key, QCryptographicHash::Sha256);
}

struct Keys {
    QByteArray cipher;
    QByteArray tag;
};

/// Empty if the machine can't be reached.
Keys currentKeys()
{
    Store* const store = Store::current();
    if (!store)
        return {};
    const QByteArray user = store->conditions().userName.toUtf8();
    const QByteArray secret = store->conditions().secret;
    return {authenticate(secret, "cipher:" + user), authenticate(secret, "tag:" + user)};
}

QByteArray withKeyStream(const QByteArray& key, const QByteArray& nonce, QByteArray text)
{
    for (qsizetype start = 0; start < text.size(); start += blockSize) {
        const quint64 counter = qToLittleEndian(static_cast<quint64>(start / blockSize));
        const QByteArray block =
            authenticate(key, nonce + QByteArray(reinterpret_cast<const char*>(&counter), sizeof counter));
        for (qsizetype i = start; i < std::min(start + blockSize, text.size()); ++i)
            text[i] = static_cast<char>(text[i] ^ block[i - start]);
    }
    return text;
}

} // namespace

bool protectSecret(const QByteArray& plain, QByteArray& out)
{
    out.clear();
    const Keys keys = currentKeys();
    if (keys.cipher.isEmpty())
        return false;
    QByteArray nonce(nonceSize, Qt::Uninitialized);
    std::ranges::generate(nonce, [] { return static_cast<char>(QRandomGenerator::system()->generate()); });
    const QByteArray box = magic + nonce + withKeyStream(keys.cipher, nonce, plain);
    out = box + authenticate(keys.tag, box);
    return true;
}

bool unprotectSecret(const QByteArray& cipher, QByteArray& out)
{
    out.clear();
    const Keys keys = currentKeys();
    const qsizetype textStart = magic.size() + nonceSize;
    const qsizetype textSize = cipher.size() - textStart - blockSize;
    if (keys.cipher.isEmpty() || textSize < 0 || !cipher.startsWith(magic))
        return false;
    if (authenticate(keys.tag, cipher.chopped(blockSize)) != cipher.last(blockSize))
        return false;
    out = withKeyStream(keys.cipher, cipher.sliced(magic.size(), nonceSize), cipher.sliced(textStart, textSize));
    return true;
}

} // namespace torvelane::platform
