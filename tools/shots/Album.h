#pragma once

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QPainter>
#include <QPixmap>
#include <QStringList>
#include <QWidget>

#include <algorithm>
#include <functional>

namespace torvelane {

/// The pictures, as numbered files of one folder.
class Album {
public:
    /// With `words`, only pictures with one of them in their names.
    Album(const QString& folder, const QString& prefix, const QStringList& words)
        : m_folder(folder)
        , m_prefix(prefix)
        , m_words(words)
    {
    }

    [[nodiscard]] bool wants(const QString& name) const
    {
        return m_words.isEmpty()
            || std::ranges::any_of(m_words, [&name](const QString& word) { return name.contains(word); });
    }

    void add(const QString& name, const QPixmap& picture)
    {
        if (!wants(name))
            return;
        const QString file = QDir(m_folder).filePath(
            QStringLiteral("%1-%2-%3.png").arg(m_prefix, QString::number(++m_count).rightJustified(2, u'0'), name));
        if (!picture.save(file))
            m_failed = true;
    }

    [[nodiscard]] bool failed() const { return m_failed; }
    [[nodiscard]] int count() const { return m_count; }

private:
    QString m_folder;
    QString m_prefix;
    QStringList m_words;
    int m_count = 0;
    bool m_failed = false;
};

/// Longer than any fade.
inline constexpr int settleMs = 450;

inline void settle(int durationMs = settleMs)
{
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < durationMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

/// Lets the event loop turn until `isSo`, for at most some seconds.
inline void settleUntil(const std::function<bool()>& isSo)
{
    constexpr int longestMs = 10000;
    QElapsedTimer clock;
    clock.start();
    while (!isSo() && clock.elapsed() < longestMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    settle();
}

[[nodiscard]] inline QString fileName(const QString& key)
{
    return key.toLower().replace(u' ', u'-');
}

/// Runs something that opens a modal dialog, now or a while later; takes the window with the dialog over it, and dismisses
/// the dialog.
void addDialog(Album& album, const QString& name, QWidget* window, const std::function<void()>& open);

/// Accepts the dialog that opens next, as soon as it is open.
void acceptNextDialog();

} // namespace torvelane
