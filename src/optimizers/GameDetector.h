#pragma once

#include <QString>

namespace torvelane {

/// A game that runs, or none.
struct DetectedGame {
    bool found = false;
    QString title;     ///< For display; empty if none was found.
    QString publisher; ///< Only of a game that the program knows by name.
};

/// Whether a game runs now, and which: by the built-in list of executables, by the user's watch list (the string list
/// "gaming/watchedGames" in the settings of organisation and application Torvelane: file names with extension, filled by
/// hand), or else by where the executable lies. A match by name anywhere beats one by place; within either, the first
/// process in the system's order wins. Never fails: what can't be read isn't a game.
///
/// For the GUI thread, every few seconds: by name it takes one list of processes; only if that finds nothing, each
/// process is asked for its path.
[[nodiscard]] DetectedGame detectRunningGame();

} // namespace torvelane
