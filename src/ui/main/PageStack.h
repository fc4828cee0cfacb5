#pragma once

#include "ui/theme/OutsideStyleSheet.h"

#include <QStackedWidget>

#include <memory>
#include <vector>

namespace torvelane {

/// A stack of pages, of which those that nobody has opened yet cost next to nothing: they are whole, but they join the
/// window, and with it its style and its layout, only when they are first shown or when somebody has the time. GUI thread.
class PageStack : public OutsideStyleSheet<QStackedWidget> {
    Q_OBJECT

public:
    explicit PageStack(QWidget* parent = nullptr);
    ~PageStack() override;

    /// Appends a page and takes it over; the first one becomes the current one.
    /// @return its number, counted from 0
    int addPage(QWidget* page);

    /// Ignored when out of range.
    void setCurrentPage(int index);

    /// -1 while there is none.
    [[nodiscard]] int currentPage() const { return m_current; }
    [[nodiscard]] int pageCount() const { return static_cast<int>(m_pages.size()); }

    /// The first page that hasn't joined the window, which it does now; null if there is none left.
    QWidget* joinNext();

    // The stack's content doesn't size the window around it, and hidden pages aren't measured.
    [[nodiscard]] QSize sizeHint() const override { return {}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return {}; }
    [[nodiscard]] bool hasHeightForWidth() const override { return false; }

protected:
    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent*) override { } // It has no frame.

private:
    struct Page {
        QWidget* widget;
        std::unique_ptr<QWidget> outside; ///< The same one, until it joins.
    };

    void join(Page& page);
    void showCurrent();

    std::vector<Page> m_pages;
    int m_current = -1;
};

} // namespace torvelane
