#pragma once

namespace torvelane {

/// Whether the program speaks French; it speaks English otherwise. Worked out once per process: French if the system's
/// language is French, or failing that the default locale's.
[[nodiscard]] bool isFrench();

} // namespace torvelane
