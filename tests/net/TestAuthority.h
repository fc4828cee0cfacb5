#pragma once

#include <QSsl>
#include <QSslConfiguration>
#include <QString>
#include <QTemporaryDir>

namespace torvelane::test {

/// How a server shows itself.
struct Identity {
    QString host = QStringLiteral("localhost");
    int days = 1; ///< How long it is valid from now on; -1 for a day that is over.
    bool isSelfSigned = false;
    QSsl::SslProtocol protocol = QSsl::SecureProtocols;
};

/// A certificate authority of the test's own, made by the program openssl in a folder that ends with the object.
class TestAuthority {
public:
    TestAuthority();

    /// Has the simulated PC trust it, and nobody else.
    void trust() const;

    [[nodiscard]] QSslConfiguration server(const Identity& identity) const;

private:
    void openssl(const QStringList& arguments) const;
    [[nodiscard]] QByteArray content(const QString& name) const;

    QTemporaryDir m_dir;
};

} // namespace torvelane::test
