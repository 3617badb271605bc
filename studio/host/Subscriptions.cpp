#include "studio/host/Subscriptions.h"

#include "gel/Eval.h"
#include "studio/host/Schema.h"
#include "studio/host/detail/Messages.h"

#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <stdexcept>

namespace studio::host {

using data::ExpressionEngine;
using data::PropertyValue;

namespace {

class NumberSource final : public gel::DataSource {
public:
    explicit NumberSource(double read) noexcept : number{read} {}
    gel::Value lookup(std::string const&) const override { return number; }

private:
    double number;
};

/// Returns what the language's `text` yields; common numbers without a look-up and an allocation.
std::string shownNumber(double number)
{
    double const size = std::abs(number);
    if (number != 0 && (size < 1e-6 || !(size < 1e15)))
        return gel::eval("text(n) ?? ''", NumberSource{number}).getString();
    std::array<char, 32> buffer;
    auto const written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number + 0.0,   // 0, not -0
                                       std::chars_format::fixed);
    return {buffer.data(), written.ptr};
}

bool truthOf(PropertyValue const& value)
{
    if (value.isLogical())
        return value.getBool();
    if (value.isDouble())
        return value.getDouble() != 0;
    return value.isString() && !value.getString().empty();
}

// The kinds of subscription. Each keeps what it handed over last, to leave out repetitions.

struct Condition {
    std::function<void(bool)> callback;
    std::optional<bool> last{};

    void operator()(PropertyValue const& value)
    {
        bool const truth = truthOf(value);
        if (std::exchange(last, truth) != truth)
            callback(truth);
    }
};

struct Label {
    std::function<void(std::string const&)> callback;
    std::optional<std::string> last{};

    void operator()(PropertyValue const& value)
    {
        if (value.isString())
            tell(value.getString());
        else
            tell(shown(value));
    }
    void tell(std::string const& text)
    {
        if (last == text)
            return;
        last = text;   // into the memory of the last one
        callback(text);
    }
};

struct Watched {
    std::function<void(PropertyValue const&)> callback;
    std::optional<PropertyValue> last{};

    void operator()(PropertyValue const& value)
    {
        if (last == value)
            return;
        last = value;
        callback(value);
    }
};

}   // namespace

struct Subscriptions::Shared {
    std::shared_ptr<ErrorHandler const> onError;   // shared: a copy of the function may need memory
    std::optional<Schema> schema;
    bool isEnded = false;
};

Subscriptions::Subscriptions(std::shared_ptr<data::ContextProvider> root)
    : shared{std::make_shared<Shared>()},
      own{std::make_unique<ExpressionEngine>(std::move(root), data::ReleasePolicy::KeepsShared)},
      used{own.get()}
{}

Subscriptions::Subscriptions(ExpressionEngine& engine) : shared{std::make_shared<Shared>()}, used{&engine}
{
    if (engine.getReleasePolicy() != data::ReleasePolicy::KeepsShared)
        throw std::invalid_argument{
            "Subscriptions need an engine that keeps shared symbols: make it with ReleasePolicy::KeepsShared"};
}

Subscriptions::~Subscriptions()
{
    shared->isEnded = true;
}

void Subscriptions::onError(ErrorHandler handler)
{
    shared->onError = handler ? std::make_shared<ErrorHandler const>(std::move(handler)) : nullptr;
}

void Subscriptions::require(Schema const& schema)
{
    shared->schema = schema;
}

template <class Told>
Subscription Subscriptions::subscribe(std::string const& text, std::shared_ptr<Told> told)
{
    if (!told->callback)
        throw std::invalid_argument{"a subscription needs a function to call"};
    if (shared->schema)
        shared->schema->require(text);
    return Subscription{used->acquireExpression(
        text, [told = std::move(told), shared = shared](std::string const& changed, PropertyValue const& value) {
            if (shared->isEnded)
                return;
            if (!shared->onError)
                return (*told)(value);
            try {
                (*told)(value);
            } catch (...) {
                if (auto const handler = shared->onError)   // kept: it may set another one
                    detail::report(*handler, detail::currentFailure(changed, value));
            }
        })};
}

Subscription Subscriptions::when(std::string const& text, std::function<void(bool)> callback)
{
    return subscribe(text, std::make_shared<Condition>(Condition{std::move(callback)}));
}

Subscription Subscriptions::show(std::string const& text, std::function<void(std::string const&)> callback)
{
    return subscribe(text, std::make_shared<Label>(Label{std::move(callback)}));
}

Subscription Subscriptions::watch(std::string const& text, std::function<void(PropertyValue const&)> callback)
{
    return subscribe(text, std::make_shared<Watched>(Watched{std::move(callback)}));
}

std::vector<Subscriptions::Unresolved> Subscriptions::unresolved() const
{
    std::vector<Unresolved> found;
    for (ExpressionEngine::Entry const& entry : used->listExpressions())
        for (std::string const& name : gel::symbols(entry.text)) {
            PathEnd end = endOf(used->getRoot(), name);
            if (end.reason != PathEnd::Reason::Found && end.reason != PathEnd::Reason::Hidden)
                found.push_back({name, entry.text, std::move(end)});
        }
    return found;
}

ExpressionEngine& Subscriptions::engine() const noexcept
{
    return *used;
}

std::string shown(PropertyValue const& value)
{
    if (value.isUndefined())
        return {};
    if (value.isDouble())
        return shownNumber(value.getDouble());
    return value.isString() ? value.getString() : value.asString();
}

}   // namespace studio::host
