#pragma once
// The toolkit's unit loader: the add-in starts it before any form exists and stops it last.
// The headless toolkit keeps no process-wide registrations, so there is nothing to load yet.
class TdxUnitsLoader {
public:
    static void Initialize() {}
    static void Finalize() {}
};
