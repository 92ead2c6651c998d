#pragma once
#include "ports/DocumentReadError.h"

#include <gtest/gtest.h>
#include <optional>

namespace vennic::test {

/// What a reading failed of, which it has to say in words too; none when it succeeds.
template <class Read>
std::optional<DocumentFault> faultOf(Read read) {
    try {
        read();
    } catch (const DocumentReadError& error) {
        EXPECT_FALSE(error.errorDescription().isEmpty());
        return error.fault();
    }
    return std::nullopt;
}

} // namespace vennic::test
