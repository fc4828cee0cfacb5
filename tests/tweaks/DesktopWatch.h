#pragma once

#include <optional>

namespace torvelane::test {

/// Counts the announcements to the desktop, from its construction on and by this thread.
class DesktopWatch {
public:
    DesktopWatch();
    ~DesktopWatch();
    DesktopWatch(const DesktopWatch&) = delete;
    DesktopWatch& operator=(const DesktopWatch&) = delete;

    [[nodiscard]] int colors() const;
    /// Nothing where the machine doesn't know.
    [[nodiscard]] std::optional<int> icons() const;

private:
    int m_colors = 0;
    int m_icons = 0;
    void* m_window = nullptr;
};

} // namespace torvelane::test
