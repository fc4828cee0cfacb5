#pragma once

class QWidget;

namespace torvelane {

class Album;
class MainWindow;

/// The pages that show the machine's load, its hardware and its network buffers, in each of their states. Leaves the
/// machine as it found it.
void addLiveStates(Album& album, QWidget* frame, MainWindow& window);

} // namespace torvelane
