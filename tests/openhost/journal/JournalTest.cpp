// Who receives the events of the journal.
#include "openhost/journal/Events.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace openhost::testing {

namespace {

class Journal : public ::testing::Test {
protected:
    ~Journal() override { journal::Redirect({}); }

    journal::Sink Note(const std::string& name)
    {
        return [this, name](const nlohmann::ordered_json& event) {
            heard_.push_back(name + " " + event["text"].get<std::string>());
        };
    }
    static void Write(const std::string& text)
    {
        journal::Write([&] { return journal::Error{.text = text}; });
    }

    std::vector<std::string> heard_;
};

TEST_F(Journal, IsClosedAsLongAsNobodyHears)
{
    EXPECT_FALSE(journal::IsOpen());
    {
        const journal::Listener listener(Note("a"));
        EXPECT_TRUE(journal::IsOpen());
    }
    EXPECT_FALSE(journal::IsOpen());
    journal::Redirect(Note("sink"));
    EXPECT_TRUE(journal::IsOpen());
}

TEST_F(Journal, IsHeardByTheSinkAndThenByTheListenersInTheirOrder)
{
    const journal::Listener first(Note("first"));
    const journal::Listener second(Note("second"));
    journal::Redirect(Note("sink"));
    Write("a");
    journal::Redirect({});
    Write("b");
    EXPECT_EQ((std::vector<std::string>{"sink a", "first a", "second a", "first b", "second b"}), heard_);
}

TEST_F(Journal, MayLoseAndGetListenersWhileItIsHeard)
{
    std::optional<journal::Listener> last;
    std::unique_ptr<journal::Listener> later;
    const journal::Listener first([&](const nlohmann::ordered_json&) {
        last.reset();
        later = std::make_unique<journal::Listener>(Note("later"));
    });
    last.emplace(Note("last"));
    Write("a");
    EXPECT_TRUE(heard_.empty());
}

} // namespace

} // namespace openhost::testing
