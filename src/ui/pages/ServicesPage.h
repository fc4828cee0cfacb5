#pragma once

#include "ui/pages/WorkPage.h"

class QPushButton;

namespace torvelane {

enum class ServiceProfileId;
class ServiceProfiles;

/// Two profiles of services that don't start any more, and the way back. A button that reads "Active" is the applied one.
class ServicesPage : public WorkPage {
    Q_OBJECT

public:
    explicit ServicesPage(QWidget* parent = nullptr);

protected:
    void build() override;
    void refreshControls() override;

private:
    /// A card with the button that applies it.
    struct Profile {
        ServiceProfileId id;
        QString title;
        QPushButton* button;
    };

    void addProfile(ServiceProfileId id, const QString& title, const QString& tag, const QString& text,
                    const char16_t* variant);
    void apply(ServiceProfileId id);

    std::shared_ptr<ServiceProfiles> m_profiles;
    QList<Profile> m_cards;
    QPushButton* m_restore = nullptr;
};

} // namespace torvelane
