#include "studio/data/Expression.h"

#include "studio/data/DataSource.h"
#include "studio/data/ExpressionHandle.h"
#include "studio/data/detail/EngineState.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace studio::data {

/// Resolves the symbols of an evaluation to the ends of their bound paths.
class Expression::Source final : public gel::DataSource {
public:
    explicit Source(Expression const& reader) noexcept : expression{reader} {}

    gel::Value lookup(std::string const&) const override { return gel::Value{}; }
    gel::Value fetch(std::size_t index, std::string const&) const override
    {
        if (index >= expression.symbols.size())
            return gel::Value{};   // there is no root
        Property::Impl const* const property = expression.engine.endOf(*expression.symbols[index]);
        return property ? data::DataSource::toGelValue(property->getValue()) : gel::Value{};
    }

private:
    Expression const& expression;
};

Expression::Expression(std::string const& expressionText, detail::EngineState& owner)
    : engine{owner}, program{expressionText}, number{++owner.lastNumber}, text{program.text()}
{
    if (engine.root) {
        symbols.resize(program.symbolCount());
        // Ordered by name, whatever their order in the text.
        boost::container::small_vector<std::size_t, 8> order(symbols.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::sort(order.begin(), order.end(), [this](std::size_t left, std::size_t right) {
            return program.symbolAt(left) < program.symbolAt(right);
        });
        for (std::size_t const index : order)
            symbols[index] = &engine.bindSymbol(program.symbolAt(index), text);
    }
    evaluate();
}

Expression::~Expression()
{
    retire();
}

/// Calls `call` with each handle present at the start and not released since, in order of acquisition.
template <class Call>
void Expression::forEachHandle(Call const& call)
{
    struct Pass {
        explicit Pass(Expression& walked) noexcept : expression{walked} { ++expression.passes; }
        ~Pass()
        {
            if (--expression.passes == 0 && expression.gaps != 0)
                expression.closeGaps();
        }
        Expression& expression;
    };
    if (handles.empty())
        return;
    Pass const pass{*this};
    std::size_t const count = handles.size();   // handles acquired by a callback have had their first call
    for (std::size_t i = 0; i != count; ++i)
        if (ExpressionHandle const* const handle = handles[i])
            call(*handle);
}

PropertyValue Expression::result() const
{
    return DataSource::toPropertyValue(program.evalPinned(Source{*this}));
}

void Expression::evaluate()
{
    PropertyValue found = result();
    if (found == value)
        return;
    value = std::move(found);
    forEachHandle([this](ExpressionHandle const& handle) { handle.call(*this); });
}

void Expression::evaluateObserved()
{
    PropertyValue found = result();
    engine.observers.each([&](EngineObserver& observer) { observer.expressionEvaluated(text, value, found); });
    if (found == value)
        return;
    value = std::move(found);
    forEachHandle([this](ExpressionHandle const& handle) {
        engine.observers.each([this](EngineObserver& observer) { observer.handleNotified(text, value); });
        handle.call(*this);
    });
}

std::vector<std::string> Expression::symbolNames() const
{
    std::vector<std::string> names;
    for (std::size_t index = 0; index != program.symbolCount(); ++index)
        names.push_back(program.symbolAt(index));
    std::sort(names.begin(), names.end());
    return names;
}

bool Expression::names(detail::ExpressionSymbol const& symbol) const noexcept
{
    return std::find(symbols.begin(), symbols.end(), &symbol) != symbols.end();
}

void Expression::addHandle(ExpressionHandle& handle)
{
    handles.push_back(&handle);
    handle.position = handles.size() - 1;
}

bool Expression::removeHandle(ExpressionHandle& handle) noexcept
{
    if (handle.position >= handles.size() || handles[handle.position] != &handle)
        return false;
    if (passes == 0 && handle.position + 1 == handles.size()) {
        handles.pop_back();
        return true;
    }
    handles[handle.position] = nullptr;
    ++gaps;
    if (passes == 0 && gaps > handles.size() / 2)
        closeGaps();
    return true;
}

void Expression::detachHandles() noexcept
{
    for (ExpressionHandle*& handle : handles)
        if (ExpressionHandle* const present = std::exchange(handle, nullptr))
            present->expression = nullptr;
    gaps = static_cast<std::uint32_t>(handles.size());
}

void Expression::retire() noexcept
{
    if (std::exchange(retired, true))
        return;
    for (detail::ExpressionSymbol* const symbol : symbols)
        engine.releaseSymbol(*symbol, text);
}

void Expression::closeGaps() noexcept
{
    std::size_t kept = 0;
    for (ExpressionHandle* const handle : handles)
        if (handle) {
            handle->position = kept;
            handles[kept++] = handle;
        }
    handles.resize(kept);
    gaps = 0;
}

}   // namespace studio::data
