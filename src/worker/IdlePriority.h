#pragma once

namespace vennic::worker {

/// Runs, and reads from disks, only when nobody else wants to.
void takeIdlePriority();

} // namespace vennic::worker
