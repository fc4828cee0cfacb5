#pragma once

namespace torvelane::platform {

/// COM of the simulated PC, as each thread sees its own. For tests; no state of the machine.
class SimulatedCom {
public:
    /// How many initialisations of the calling thread are still to be undone.
    [[nodiscard]] static int references();

    /// Puts the calling thread into the single-threaded apartment, as a GUI thread is, or takes it out.
    static void enterSingleThreadedApartment();
    static void leaveSingleThreadedApartment();

    SimulatedCom() = delete;
};

} // namespace torvelane::platform
