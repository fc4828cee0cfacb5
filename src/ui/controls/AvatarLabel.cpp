#include "ui/controls/AvatarLabel.h"

#include "ui/theme/Theme.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <cmath>

namespace torvelane {

namespace {

constexpr int pictureSide = 34;

} // namespace

AvatarLabel::AvatarLabel(QWidget* parent) : QLabel(parent)
{
    setObjectName(QStringLiteral("Avatar"));
    setAlignment(Qt::AlignCenter);
}

void AvatarLabel::setUser(const QString& name, const QString& pictureUrl)
{
    setPixmap(QPixmap());
    setText(name.isEmpty() ? QStringLiteral("?") : name.left(1).toUpper());
    loadPicture(pictureUrl);
}

void AvatarLabel::loadPicture(const QString& address)
{
    if (address.startsWith(QLatin1String("data:image"))) {
        const qsizetype comma = address.indexOf(QLatin1Char(','));
        if (comma >= 0)
            setRoundPicture(QByteArray::fromBase64(address.sliced(comma + 1).toLatin1()));
        return;
    }
    if (!address.startsWith(QLatin1String("http")))
        return;
    auto* const manager = new QNetworkAccessManager(this);
    QNetworkReply* const reply = manager->get(QNetworkRequest(QUrl(address)));
    connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received) {
        if (received > maxPictureSizeBytes)
            reply->abort();
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply, manager] {
        if (reply->error() == QNetworkReply::NoError)
            setRoundPicture(reply->readAll());
        reply->deleteLater();
        manager->deleteLater();
    });
}

void AvatarLabel::setRoundPicture(const QByteArray& bytes)
{
    QPixmap picture;
    if (bytes.size() > maxPictureSizeBytes || !picture.loadFromData(bytes))
        return;
    const qreal ratio = devicePixelRatioF();
    const int side = static_cast<int>(std::round(pictureSide * ratio));
    const QPixmap scaled = picture.scaled(side, side, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
    QPixmap round(side, side);
    round.fill(Qt::transparent);
    {
        QPainter painter(&round);
        painter.setRenderHint(QPainter::Antialiasing);
        QPainterPath circle;
        circle.addEllipse(0, 0, side, side);
        painter.setClipPath(circle);
        painter.drawPixmap((side - scaled.width()) / 2, (side - scaled.height()) / 2, scaled);
    }
    round.setDevicePixelRatio(ratio);
    setText(QString());
    setPixmap(round);
}

} // namespace torvelane
