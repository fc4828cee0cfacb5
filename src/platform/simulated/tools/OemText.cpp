#include "platform/simulated/tools/OemText.h"

#include <QStringView>

namespace torvelane::platform::simulated {
namespace {

/// The characters 128 to 255.
constexpr char16_t upperHalf[] = u"ÇüéâäàåçêëèïîìÄÅÉæÆôöòûùÿÖÜø£Ø×ƒ"
                                 u"áíóúñÑªº¿®¬½¼¡«»░▒▓│┤ÁÂÀ©╣║╗╝¢¥┐"
                                 u"└┴┬├─┼ãÃ╚╔╩╦╠═╬¤ðÐÊËÈıÍÎÏ┘┌█▄¦Ì▀"
                                 u"ÓßÔÒõÕµþÞÚÛÙýÝ¯´\u00ad±‗¾¶§÷¸°¨·¹³²■\u00a0";
constexpr int firstOfUpperHalf = 128;

} // namespace

QByteArray toOem(const QString& text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    for (const QChar unit : text) {
        const qsizetype index = QStringView(upperHalf).indexOf(unit);
        if (unit.unicode() < firstOfUpperHalf)
            bytes.append(static_cast<char>(unit.unicode()));
        else if (index >= 0)
            bytes.append(static_cast<char>(firstOfUpperHalf + index));
        else
            bytes.append(unit == u'\u2019' ? '\'' : '?');
    }
    return bytes;
}

QString fromOem(const QByteArray& bytes)
{
    QString text;
    text.reserve(bytes.size());
    for (const char byte : bytes) {
        const int code = static_cast<unsigned char>(byte);
        text.append(code < firstOfUpperHalf ? QChar(code) : QChar(upperHalf[code - firstOfUpperHalf]));
    }
    return text;
}

} // namespace torvelane::platform::simulated
