#pragma once

#include "ui/pages/Page.h"

namespace torvelane {

struct UserProfile;

/// The settings page: who is signed in, the version, and the way out. Shows the profile that it was built with.
class AccountPage : public Page {
    Q_OBJECT

public:
    explicit AccountPage(const UserProfile& profile, QWidget* parent = nullptr);

Q_SIGNALS:
    void signOutRequested();

protected:
    void build() override;

private:
    QString m_identity;
};

} // namespace torvelane
