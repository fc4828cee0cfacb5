#include "ui/theme/TextBreaks.h"

namespace torvelane {

namespace {

constexpr qsizetype longWord = 40; ///< Characters; shorter ones fit every label that wraps.
constexpr qsizetype longPart = 40; ///< Of a word without any separator.
constexpr QChar zeroWidthSpace(0x200B);
constexpr QStringView separators = u"\\/_.,:;-=|";

void appendBroken(QString& result, QStringView word)
{
    qsizetype sinceBreak = 0;
    for (const QChar c : word) {
        result += c;
        if (separators.contains(c) || ++sinceBreak == longPart) {
            result += zeroWidthSpace;
            sinceBreak = 0;
        }
    }
}

} // namespace

QString withBreaks(const QString& text)
{
    QString result;
    qsizetype start = 0;
    const auto appendWord = [&](qsizetype end) {
        const QStringView word = QStringView(text).sliced(start, end - start);
        if (word.size() > longWord)
            appendBroken(result, word);
        else
            result += word;
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!text.at(i).isSpace())
            continue;
        appendWord(i);
        result += text.at(i);
        start = i + 1;
    }
    appendWord(text.size());
    return result;
}

} // namespace torvelane
