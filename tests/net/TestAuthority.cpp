#include "TestAuthority.h"

#include "platform/simulated/SimulatedPc.h"

#include <QFile>
#include <QJsonArray>
#include <QProcess>
#include <QSslCertificate>
#include <QSslKey>

using namespace Qt::StringLiterals;

namespace torvelane::test {

namespace {

const QStringList newKey = {u"-newkey"_s, u"ec"_s, u"-pkeyopt"_s, u"ec_paramgen_curve:prime256v1"_s, u"-nodes"_s};

} // namespace

TestAuthority::TestAuthority()
{
    openssl(QStringList{u"req"_s, u"-x509"_s} + newKey
            + QStringList{u"-keyout"_s, u"ca.key"_s, u"-out"_s, u"ca.pem"_s, u"-subj"_s, u"/CN=Test Authority"_s});
}

void TestAuthority::trust() const
{
    platform::SimulatedPc::setValue(u"network/authorities"_s, QJsonArray{QString::fromLatin1(content(u"ca.pem"_s))});
}

QSslConfiguration TestAuthority::server(const Identity& identity) const
{
    const QStringList naming = {u"-keyout"_s, u"server.key"_s,
                                u"-subj"_s,   u"/CN="_s + identity.host,
                                u"-addext"_s, u"subjectAltName=DNS:"_s + identity.host};
    if (identity.isSelfSigned) {
        openssl(QStringList{u"req"_s, u"-x509"_s, u"-out"_s, u"server.pem"_s} + newKey + naming);
    } else {
        openssl(QStringList{u"req"_s, u"-out"_s, u"server.csr"_s} + newKey + naming);
        openssl({u"x509"_s, u"-req"_s, u"-in"_s, u"server.csr"_s, u"-CA"_s, u"ca.pem"_s, u"-CAkey"_s, u"ca.key"_s,
                 u"-CAcreateserial"_s, u"-days"_s, QString::number(identity.days), u"-copy_extensions"_s, u"copy"_s,
                 u"-out"_s, u"server.pem"_s});
    }
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificateChain(QSslCertificate::fromData(content(u"server.pem"_s)));
    configuration.setPrivateKey(QSslKey(content(u"server.key"_s), QSsl::Ec));
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    configuration.setProtocol(identity.protocol);
    // The system's policy keeps a server from old protocols.
    configuration.setBackendConfigurationOption("CipherString", QByteArray("DEFAULT:@SECLEVEL=0"));
    return configuration;
}

void TestAuthority::openssl(const QStringList& arguments) const
{
    QProcess process;
    process.setWorkingDirectory(m_dir.path());
    process.start(u"openssl"_s, arguments);
    if (!process.waitForFinished() || process.exitCode() != 0)
        qFatal("openssl failed: %s", process.readAllStandardError().constData());
}

QByteArray TestAuthority::content(const QString& name) const
{
    QFile file(m_dir.filePath(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("No file of the test's authority");
    return file.readAll();
}

} // namespace torvelane::test
