#include "studio/data/PropertyService.h"

#include "support/Allocations.h"
#include "support/Processes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace studio::data {
namespace {

using Names = std::vector<std::string>;

/// What a source does, kept by the test: the source's own destructor never runs, so it must own nothing.
struct Plan {
    char letter;
    std::string triggers;   // names of one letter
    std::function<void()> whenAsked = [] {};
    int timesAsked = 0;
    int timesDestroyed = 0;
};

/// First base of `Source`: the interface then does not begin where the source's memory does.
struct OtherBase {
    virtual ~OtherBase() = default;
};

struct Source final : OtherBase, PropertySource {
    explicit Source(Plan& plan) : plan{plan} {}
    ~Source() override { ++plan.timesDestroyed; }

    std::unordered_set<std::string> getTriggers() override
    {
        ++plan.timesAsked;
        plan.whenAsked();
        std::unordered_set<std::string> names;
        for (char const letter : plan.triggers)
            names.insert(std::string(1, letter));
        return names;
    }

    Plan& plan;
};

/// A service, and its answers as the letters of the sources, in order.
class PropertyServiceTest : public testing::Test {
protected:
    void add(Plan& plan)
    {
        auto source = std::make_unique<Source>(plan);
        addresses[plan.letter] = source.get();
        service->addSource(std::move(source));
    }
    void remove(char letter) { service->removeSource(addresses[letter]); }
    template <class Question>
    std::string triggered(Question const& names) const
    {
        auto const sources = service->getTriggeredSources(names);
        std::string letters;
        for (auto const& [letter, address] : addresses)
            letters += sources.count(address) ? std::string(1, letter) : "";
        EXPECT_EQ(letters.size(), sources.size());
        return letters;
    }

    std::unique_ptr<PropertyService> service = std::make_unique<PropertyService>("tested");
    std::map<char, PropertySource*> addresses;
};

TEST_F(PropertyServiceTest, AnswersWhichSourcesAChangeTriggers)
{
    Plan one{'1', "ab"}, two{'2', "b"}, silent{'3', ""};
    for (Plan* const plan : {&one, &two, &silent})
        add(*plan);
    one.triggers = "x";   // too late: a source is asked once
    std::pair<Names, char const*> const rows[] = {
        {{}, "123"},       {{"a"}, "1"}, {{"b"}, "12"}, {{"a", "b"}, "12"}, {{"b", "a", "b"}, "12"},
        {{"x", "a"}, "1"}, {{"x"}, ""},  {{""}, ""},    {{"A", "a.b"}, ""}};
    for (auto const& [names, expected] : rows) {
        EXPECT_EQ(triggered(names), expected) << testing::PrintToString(names);
        if (names.size() == 1) {
            EXPECT_EQ(triggered(names[0]), expected);
        }
    }
}

// By design: the names of a removed source still yield its address. Its memory is freed, wherever the
// interface stands in it, and its destructor does not run.
TEST_F(PropertyServiceTest, RemovalFreesTheSourceAndLeavesTheNames)
{
    Plan one{'1', std::string(1, 'a')}, two{'2', "ab"};
    add(two);
    add(one);
    std::size_t const before = support::liveAllocations();
    remove('1');
    EXPECT_EQ(support::liveAllocations(), before - 3);   // the source, its count and its place
    EXPECT_EQ(one.timesDestroyed, 0);
    EXPECT_EQ(triggered(Names{}), "2");
    EXPECT_EQ(triggered("a"), "12");
    remove('1');   // unknown by now, as null is always
    service->removeSource(nullptr);
    service->addSource(nullptr);
    service->addSource(std::unique_ptr<PropertySource>(addresses['2']));   // one that is there already
    EXPECT_EQ(triggered(Names{}), "2");
    EXPECT_EQ(two.timesAsked, 1);
}

TEST_F(PropertyServiceTest, SourceMayDoAnythingInsideGetTriggers)
{
    Plan present{'0', "a"}, running{'1', "a"}, another{'2', "a"};
    struct Row {
        char const* what;
        std::function<void()> act;
        char const* sources;   // owned, triggered by "a"; null when the service is gone
    };
    Row const rows[] = {
        {"looks", [&] { EXPECT_EQ(triggered(Names{}) + ' ' + triggered("a"), "01 0"); }, "01 01"},
        {"adds", [&] { add(another); }, "012 012"},
        {"removes another", [&] { remove('0'); }, "1 01"},
        {"removes itself", [&] { remove('1'); }, "0 0"},
        {"adds one that removes it", [&] { another.whenAsked = [&] { remove('1'); }, add(another); }, "02 02"},
        {"throws", [&] { throw std::runtime_error("no names"); }, "01 0"},
        {"removes itself, throws", [&] { remove('1'), throw std::runtime_error("no names"); }, "0 0"},
        {"ends the service", [&] { service.reset(); }, nullptr},
        {"adds one that ends it", [&] { another.whenAsked = [&] { service.reset(); }, add(another); }, nullptr},
    };
    for (Row const& row : rows) {
        service = std::make_unique<PropertyService>(row.what);
        addresses.clear();
        another.whenAsked = [] {};
        running.whenAsked = row.act;
        add(present);
        try {
            add(running);
        } catch (std::runtime_error const&) {}
        EXPECT_EQ(service != nullptr, row.sources != nullptr) << row.what;
        if (service && row.sources) {
            EXPECT_EQ(triggered(Names{}) + ' ' + triggered("a"), row.sources) << row.what;
        }
    }
}

TEST_F(PropertyServiceTest, WithoutMemoryNothingIsLostOrFreedTwice)
{
    Plan plan{'1', "abc"};
    bool happened = true;
    for (std::size_t skipped = 0; happened; ++skipped) {
        service = std::make_unique<PropertyService>("poor");
        plan.timesAsked = 0;
        auto source = std::make_unique<Source>(plan);
        try {
            support::FailingAllocation const failing{skipped};
            happened = true;
            service->addSource(std::move(source));
            happened = failing.happened();
        } catch (std::bad_alloc const&) {}
        EXPECT_EQ(service->getTriggeredSources(Names{}).size(), plan.timesAsked) << skipped;
    }
}

struct Ending : PropertyService {
    Ending(char const* name, std::function<void()> end) : PropertyService{name}, end{std::move(end)} {}
    ~Ending() override { end(); }
    std::function<void()> end;
};

TEST(PropertyServiceRegistry, KeepsTheFirstOfAName)
{
    std::string ended;
    auto const look = [&] { ended += PropertyService::get("menu") ? '+' : '-'; };
    auto service = std::make_unique<Ending>("menu", look);
    PropertyService* const first = service.get();
    PropertyService::add(std::move(service));
    PropertyService::add(std::make_unique<Ending>("menu", look));
    PropertyService::add(nullptr);
    EXPECT_EQ(ended, "+");   // the second one, at once
    EXPECT_EQ(PropertyService::get("menu"), first);
    for (char const* const name : {"", "menus", "menu", "menu"})
        PropertyService::remove(name);
    EXPECT_EQ(ended, "+-");
    EXPECT_EQ(PropertyService::get("menu"), nullptr);
}

TEST(PropertyServiceExitDeathTest, ServicesLeftInTheRegistryAreDestroyed)
{
    support::useFreshProcesses();
    auto const end = [] {
        for (char const* const name : {"a", "b"})
            PropertyService::add(std::make_unique<Ending>(name, [] {
                std::cerr << 'a' << !!PropertyService::get("a") << 'b' << !!PropertyService::get("b") << ' ';
            }));
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), testing::AnyOf("a1b0 a0b0 ", "a0b1 a0b0 "));
}

}   // namespace
}   // namespace studio::data
