#pragma once
#include <memory>

namespace vennic::server {

/// Abandons the work when its last copy goes. Whoever is inside the work at that moment still holds on to it, so that
/// a listener may let go of what is calling it.
template <class Work>
std::shared_ptr<void> handleOf(const std::shared_ptr<Work>& work) {
    return {nullptr, [work](void*) { work->abandon(); }};
}

} // namespace vennic::server
