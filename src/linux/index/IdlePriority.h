#pragma once

namespace vennic::index {

/// Lets the calling thread run, and read the disk, only when nothing else wants to.
void takeIdlePriority();

} // namespace vennic::index
