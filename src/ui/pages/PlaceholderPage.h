#pragma once

#include "ui/pages/Page.h"

namespace torvelane {

/// Stands where a page isn't built yet, and says so.
class PlaceholderPage : public Page {
    Q_OBJECT

public:
    /// `label` is the section's name in the user's language.
    explicit PlaceholderPage(const QString& label, QWidget* parent = nullptr);
};

} // namespace torvelane
