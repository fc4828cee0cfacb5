#pragma once

#include <QLabel>

namespace torvelane {

/// The user's picture in a circle, or the first letter of the name. Object name "Avatar"; its size is the style sheet's.
class AvatarLabel : public QLabel {
    Q_OBJECT

public:
    explicit AvatarLabel(QWidget* parent = nullptr);

    /// Shows the letter at once, and the picture in its place when it is there. `pictureUrl` is "data:image..." or an
    /// http address; anything else, a failed download and bytes that are no picture leave the letter.
    void setUser(const QString& name, const QString& pictureUrl);

    /// Longest picture that is taken, so that a hostile or broken address can't fill the memory.
    static constexpr qint64 maxPictureSizeBytes = 4 * 1024 * 1024;

private:
    void loadPicture(const QString& address);
    void setRoundPicture(const QByteArray& bytes);
};

} // namespace torvelane
