#include "core/Language.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString childOption = u"--exit-with-language"_s;
constexpr int exitEnglish = 10;
constexpr int exitFrench = 11;

} // namespace

/// The language is worked out once in a process, so each locale gets a process of its own.
class tst_Language : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void followsTheSystem_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("France") << u"fr_FR.UTF-8"_s << exitFrench;
        QTest::newRow("Canada in French") << u"fr_CA.UTF-8"_s << exitFrench;
        QTest::newRow("Canada in English") << u"en_CA.UTF-8"_s << exitEnglish;
        QTest::newRow("Friulian") << u"fur_IT.UTF-8"_s << exitEnglish;
        QTest::newRow("none") << u"C.UTF-8"_s << exitEnglish;
    }

    void followsTheSystem()
    {
        QFETCH(QString, locale);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(u"LANGUAGE"_s);
        environment.insert(u"LC_ALL"_s, locale);
        QProcess child;
        child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(), {childOption});
        QVERIFY(child.waitForFinished());
        QTEST(child.exitCode(), "exitCode");
    }
};

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().contains(childOption))
        return torvelane::isFrench() ? exitFrench : exitEnglish;
    tst_Language suite;
    return QTest::qExec(&suite, argc, argv);
}

#include "tst_Language.moc"
