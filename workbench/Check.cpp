#include "workbench/Check.h"

#include "workbench/Text.h"

namespace workbench {

using studio::data::PropertyValue;

namespace {

std::string shownChange(Change const& change)
{
    return shown(change.from) + " -> " + shown(change.to);
}

}   // namespace

void Check::initial(std::vector<PropertyValue> const& expected, std::vector<PropertyValue> const& found)
{
    valueCount += expressions.size();
    for (std::size_t i = 0; i < expressions.size(); ++i)
        if (!(expected[i] == found[i]))
            differs("at the start", i, "expected " + shown(expected[i]) + ", found " + shown(found[i]));
}

void Check::step(std::size_t number, std::vector<Answer> const& expected, StepResult const& result)
{
    ++stepCount;
    std::string const when = "step " + std::to_string(number);
    auto answer = expected.begin();
    auto change = result.changes.begin();
    while (answer != expected.end() || change != result.changes.end()) {
        bool const silent =
            change == result.changes.end() || (answer != expected.end() && answer->expression < change->expression);
        bool const unasked =
            answer == expected.end() || (change != result.changes.end() && change->expression < answer->expression);
        if (silent)
            differs(when, answer->expression, "expected " + shown(answer->value) + ", found no change");
        else if (unasked)
            differs(when, change->expression, "expected no change, found " + shownChange(*change));
        else if (!(answer->value == change->to))
            differs(when, answer->expression, "expected " + shown(answer->value) + ", found " + shownChange(*change));
        answer += unasked ? 0 : 1;
        change += silent ? 0 : 1;
    }
    for (std::size_t const expression : result.toldAgain)
        differs(when, expression, "reported more than once");
}

void Check::differs(std::string const& when, std::size_t expression, std::string const& how)
{
    if (++count <= KEPT)
        lines.push_back(when + ", expression " + std::to_string(expression) + ": " + oneLine(how, 200) + "   in " +
                        oneLine(expressions[expression].text, 80));
}

}   // namespace workbench
