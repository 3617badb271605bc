#include "studio/inspect/HtmlReport.h"

#include "studio/inspect/Watcher.h"
#include "support/Contexts.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace studio::inspect {
namespace {

using support::context;
using support::Handle;
using support::Provider;
using Json = nlohmann::json;

constexpr char const* MARKUP = "</script><script>window.hacked = 1</script><img src=x onerror='window.hacked = 1'>";
constexpr char const* BYTES =
    "\x01\x1b[31m\x7f\r\n\xe2\x80\xa8\xe2\x80\xa9\xe2\x80\xae\xed\xa0\x80\xff\xf0\x9f\x98\x80{{data}}";

/// A page with every kind of thing on it. `STUDIO_DATA_PAGE` names a file to write it to, for a browser.
class HtmlReport : public testing::Test {
protected:
    HtmlReport()
    {
        for (std::string const text : {"!editor.readOnly && editor.dirty", "editor.title.size > 2 || lost.x || `a`.b",
                                       "editor.dirty ? 'changed' : ''", "'\xff</script>' == x"})
            acquire(text);
        acquire('`' + std::string{MARKUP} + "` == '\xff</script>\xe2\x80\xa8'");
        for (int each = 0; each != 300; ++each)
            acquire("commands.enabled && commands.n" + std::to_string(each) + " == " + std::to_string(each));
        handles.push_back(engine.acquireExpression("saves && editor.dirty", [this](auto&&, auto const& value) {
            if (value.getBool())
                editor->setPropertyValue("dirty", false);
        }));
        editor->setPropertyValue("dirty", true);
        root->setPropertyValue("saves", true);
        root->setPropertyValue(MARKUP, BYTES);
        support::inTransaction([&] {
            for (int each = 0; each != 150; ++each)
                commands->addProperty(("n" + std::to_string(each)).c_str(), each);
        });
        for (int each = 0; each != 10; ++each)
            commands->setPropertyValue("enabled", each % 2 == 0);
        root->removeProperty("lost");
        page = htmlReport(engine, &watcher, MARKUP);
        std::string::size_type const begin = page.find("id=\"data\">") + 10;
        data = Json::parse(page.substr(begin, page.find("</script>", begin) - begin));
        if (char const* const file = std::getenv("STUDIO_DATA_PAGE"))
            std::ofstream{file, std::ios::binary} << page;
    }

    void acquire(std::string const& text)
    {
        handles.push_back(engine.acquireExpression(text, [](auto&&...) {}));
    }

    Provider const editor = context({{"readOnly", true}, {"dirty", false}, {"title", "notes"}});
    Provider const commands = context({{"enabled", false}});
    Provider const root = context({{"editor", editor},
                                   {"commands", commands},
                                   {"saves", false},
                                   {"lost", editor},
                                   {"a.b", 1},
                                   {MARKUP, MARKUP},
                                   {BYTES, BYTES}});
    data::ExpressionEngine engine{root};
    Watcher watcher{engine};
    std::vector<Handle> handles;
    std::string page;
    Json data;
};

TEST_F(HtmlReport, HoldsWhatTheHostNamesAsDataOnly)
{
    std::size_t ends = 0;
    for (std::size_t at = 0; (at = page.find("</script>", at)) != std::string::npos; ++at)
        ++ends;
    EXPECT_EQ(ends, 2u);
    EXPECT_EQ(page.find("<img"), std::string::npos);
    EXPECT_EQ(page.find("://"), std::string::npos);
    EXPECT_TRUE(
        std::all_of(page.begin(), page.end(), [](char each) { return each == '\n' || (each >= ' ' && each <= '~'); }));
    EXPECT_EQ(data["title"], MARKUP);
    EXPECT_NE(page.find("<title>&lt;/script>"), std::string::npos);
}

TEST_F(HtmlReport, RefersFromEachThingToTheOthers)
{
    Json const& first = data["expressions"][0];
    EXPECT_EQ(first["value"], false);
    EXPECT_EQ(first["deciding"].dump(), "[[0,1]]");
    Json const& readOnly = data["properties"][first["symbols"][0]["steps"][1].get<std::size_t>()];
    EXPECT_EQ(readOnly["readers"].dump(), "[0]");
    EXPECT_EQ(data["contexts"][readOnly["context"].get<std::size_t>()]["path"], "editor");
    std::string found;
    for (Json const& each : data["expressions"][1]["symbols"])
        found += each["end"].get<std::string>() + ' ';
    EXPECT_EQ(found, "plain value missing hidden ");
    Json const& nested = *std::find_if(data["commits"].begin(), data["commits"].end(),
                                       [](Json const& each) { return each["cause"] != 0; });
    EXPECT_EQ(data["expressions"][nested["callback"].get<std::size_t>()]["text"], "saves && editor.dirty");
    EXPECT_EQ(nested["changes"][0]["after"], false);
}

}   // namespace
}   // namespace studio::inspect
