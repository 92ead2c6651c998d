#pragma once

namespace vennic {

/// Lets the calling thread, and what it starts, run and read the disk only when nobody else wants to. Each part is a
/// wish: where the system refuses one, the work goes on without.
void takeIdlePriority();

} // namespace vennic
