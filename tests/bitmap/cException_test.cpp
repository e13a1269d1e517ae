#include "bitmap/cException.h"

#include "support/Capture.h"

#include <gtest/gtest.h>

#include <type_traits>

using namespace Vornik;

namespace
{

TEST(cException, DescendantsAreToldApartAndCaughtByTheBase)
{
    static_assert(std::is_base_of_v<std::runtime_error, cException>);
    static_assert(!std::is_base_of_v<cArgumentException, cArgumentNullException>);
    EXPECT_THROW(throw cArgumentNullException("m", 1, "f", "t", "s"), cException);
}

} // namespace
