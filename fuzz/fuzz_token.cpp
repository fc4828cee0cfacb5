#include "FuzzMachine.h"
#include "account/TokenFile.h"
#include "core/Paths.h"
#include "platform/SecretBox.h"

using namespace torvelane;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::prepareMachine();
    return 0;
}

/// The bytes as the file itself, which nobody who doesn't hold the user's key can make, and as what was enciphered.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray input = fuzz::bytesOf(data, size);
    TokenFile::Session session;
    fuzz::replaceContent(Paths::tokenFile(), input);
    fuzz::require(TokenFile::read(session) == TokenFile::ReadResult::Damaged);

    QByteArray cipher;
    fuzz::require(platform::protectSecret(input, cipher));
    fuzz::replaceContent(Paths::tokenFile(), cipher);
    if (TokenFile::read(session) == TokenFile::ReadResult::Read) {
        TokenFile::Session again;
        fuzz::require(TokenFile::write(session));
        fuzz::require(TokenFile::read(again) == TokenFile::ReadResult::Read);
        fuzz::require(again.signedIn == session.signedIn && again.tier == session.tier);
    }
    return 0;
}
