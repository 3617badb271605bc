#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "support/Elements.h"

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

/// Helpers for tests of contexts: make and change them, and record the callbacks of expressions.
namespace support {

using Provider = std::shared_ptr<studio::data::ContextProvider>;
using Handle = std::unique_ptr<studio::data::ExpressionHandle>;

/// Makes a context with these properties.
inline Provider context(std::initializer_list<std::pair<char const*, studio::data::PropertyValue>> properties = {})
{
    Provider provider = studio::data::ContextProvider::create();
    for (auto const& [name, value] : properties)
        provider->addProperty(name, value);
    return provider;
}

/// A callback that destroys `doomed` when it is copied.
template <class T>
struct EndsWhenCopied {
    explicit EndsWhenCopied(std::unique_ptr<T>& doomed) : ended{doomed} {}
    EndsWhenCopied(EndsWhenCopied const& other) : ended{other.ended} { ended.reset(); }
    template <class... Told>
    void operator()(Told const&...) const
    {}
    std::unique_ptr<T>& ended;
};

/// Makes all changes in one transaction of the shared model.
template <class Change>
void inTransaction(Change const& change)
{
    commit(studio::data::ContextProvider::sharedModel(), change);
}
/// Makes all changes in one transaction of the shared model and rolls it back.
template <class Change>
void rolledBack(Change const& change)
{
    rollBack(studio::data::ContextProvider::sharedModel(), change);
}

/// Returns a value as an expression would write it.
inline std::string shown(studio::data::PropertyValue const& value)
{
    if (value.isDouble()) {
        std::string text = std::to_string(value.getDouble());
        text.erase(text.find_last_not_of('0') + 1);
        return text.back() == '.' ? text.substr(0, text.size() - 1) : text;
    }
    if (value.isString())
        return '\'' + value.getString() + '\'';
    return value.isUndefined() ? "undefined" : value.asString();
}

/// Subscribes to expressions and records each call, as in "x + 1=3; y=2".
class CallRecorder {
public:
    explicit CallRecorder(studio::data::ExpressionEngine& engine) : m_engine{engine} {}

    /// Subscribes to `text` and records every call, the first one too. A name distinguishes handles of one text:
    /// "h:x=1".
    Handle hear(std::string const& text, std::string const& name = {})
    {
        return m_engine.acquireExpression(text, [=, this](std::string const& heard, auto const& value) {
            note((name.empty() ? name : name + ':') + heard + '=' + shown(value));
        });
    }
    /// Subscribes to `text` and records every call but the first. `then` runs after each record.
    Handle watch(std::string const& text, std::function<void()> then = {})
    {
        auto const isOn = std::make_shared<bool>(false);
        Handle handle = m_engine.acquireExpression(text, [=, this](std::string const& heard, auto const& value) {
            if (*isOn)
                note(heard + '=' + shown(value));
            if (*isOn && then)
                then();
        });
        *isOn = true;
        return handle;
    }

    void note(std::string const& what) { m_heard += m_heard.empty() ? what : "; " + what; }
    /// Returns the calls recorded since the last `take`.
    std::string take() { return std::exchange(m_heard, {}); }

private:
    studio::data::ExpressionEngine& m_engine;
    std::string m_heard;
};

}   // namespace support
