#pragma once

namespace vennic::test {

/// While it lives, looking up "stuck.test" hangs, as it does when a name server is out of reach. Its end lets the
/// lookups go on, which then fail.
class StuckResolver {
public:
    StuckResolver();
    StuckResolver(const StuckResolver&) = delete;
    StuckResolver& operator=(const StuckResolver&) = delete;
    ~StuckResolver();
    /// Lookups of that name that have begun.
    int lookups() const;
};

} // namespace vennic::test
