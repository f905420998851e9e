#include "openhost/play/EnvironmentChanges.h"

#include <gtest/gtest.h>

#include <stdlib.h>

namespace openhost {

constexpr const char* Name = "OPENHOST_TEST_VARIABLE";

TEST(EnvironmentChanges, VariablesOfBeforeComeBack)
{
    ::setenv(Name, "before", 1);
    {
        EnvironmentChanges changes;
        changes.Set(Name, "first");
        changes.Set(Name, std::nullopt);
        EXPECT_EQ(nullptr, ::getenv(Name));
        changes.Set(Name, "");
        EXPECT_STREQ(::getenv(Name), "");
    }
    EXPECT_STREQ(::getenv(Name), "before");
}

TEST(EnvironmentChanges, AVariableThatWasNotThereGoesAgain)
{
    ::unsetenv(Name);
    {
        EnvironmentChanges changes;
        changes.Set(Name, "value");
        EXPECT_STREQ(::getenv(Name), "value");
    }
    EXPECT_EQ(nullptr, ::getenv(Name));
}

TEST(EnvironmentChanges, ANameThatTheSystemRefusesIsAnError)
{
    EnvironmentChanges changes;
    EXPECT_THROW(changes.Set("", "value"), std::runtime_error);
    EXPECT_THROW(changes.Set("a=b", "value"), std::runtime_error);
}

} // namespace openhost
