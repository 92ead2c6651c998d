#include "base/Pool.h"

#include <QThreadPool>

namespace vennic {

void submitToPool(std::function<void()> function) { QThreadPool::globalInstance()->start(std::move(function)); }

namespace detail {

PlaceGivenUp::PlaceGivenUp() { QThreadPool::globalInstance()->releaseThread(); }

PlaceGivenUp::~PlaceGivenUp() { QThreadPool::globalInstance()->reserveThread(); }

} // namespace detail

} // namespace vennic
