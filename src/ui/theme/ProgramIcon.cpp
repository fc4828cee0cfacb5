#include "ui/theme/ProgramIcon.h"

#include <QFile>
#include <QImage>
#include <QPixmap>
#include <QtEndian>

namespace torvelane {

namespace {

// The layout of icon files: a table of pictures and, for each of 32 bits that isn't packed as a PNG, the header of a
// bitmap of twice its height, its rows from the lowest up, and a mask. Microsoft, "Icons" (Win32) and BITMAPINFOHEADER.
constexpr qsizetype tableStart = 6;
constexpr qsizetype entrySize = 16;
constexpr qsizetype bitmapHeaderSize = 40;

quint32 numberAt(QByteArrayView bytes, qsizetype at)
{
    return qFromLittleEndian<quint32>(bytes.data() + at);
}

/// The picture of one entry of the table; null for one that is packed.
QImage pictureOf(QByteArrayView file, QByteArrayView entry)
{
    const int side = static_cast<quint8>(entry[0]);
    const QByteArrayView bitmap = file.sliced(numberAt(entry, 12));
    const qsizetype rowSize = qsizetype{4} * side;
    if (side == 0 || numberAt(bitmap, 0) != bitmapHeaderSize || bitmap.size() < bitmapHeaderSize + rowSize * side)
        return {};
    const auto* const rows = reinterpret_cast<const uchar*>(bitmap.data() + bitmapHeaderSize);
    return QImage(rows, side, side, rowSize, QImage::Format_ARGB32).mirrored();
}

} // namespace

QIcon programIcon()
{
    QFile file(QStringLiteral(":/app.ico"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.readAll();
    QIcon icon;
    const int count = qFromLittleEndian<quint16>(bytes.constData() + 4);
    for (int i = 0; i < count; ++i) {
        const QImage picture = pictureOf(bytes, QByteArrayView(bytes).sliced(tableStart + i * entrySize, entrySize));
        if (!picture.isNull())
            icon.addPixmap(QPixmap::fromImage(picture));
    }
    return icon;
}

} // namespace torvelane
