#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/Transaction.h"

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

/// The words of a test about contexts: make them, change them, hear what expressions say.
namespace support {

using Provider = std::shared_ptr<studio::data::ContextProvider>;
using Handle = std::unique_ptr<studio::data::ExpressionHandle>;

/// A context with these properties.
inline Provider context(std::initializer_list<std::pair<char const*, studio::data::PropertyValue>> properties = {})
{
    Provider provider = studio::data::ContextProvider::create();
    for (auto const& [name, value] : properties)
        provider->addProperty(name, value);
    return provider;
}

/// A callback whose copying ends what it is meant for.
template <class T>
struct EndsWhenCopied {
    explicit EndsWhenCopied(std::unique_ptr<T>& doomed) : ended{doomed} {}
    EndsWhenCopied(EndsWhenCopied const& other) : ended{other.ended} { ended.reset(); }
    template <class... Told>
    void operator()(Told const&...) const
    {}
    std::unique_ptr<T>& ended;
};

/// Does it all in one transaction of the shared model.
template <class Change>
void inTransaction(Change const& change)
{
    tarn::zero::Transaction transaction = studio::data::ContextProvider::sharedModel()->beginTransaction(true);
    change();
    transaction.commit(boost::none);
}

/// Does it all and undoes it.
template <class Change>
void rolledBack(Change const& change)
{
    tarn::zero::Transaction const transaction = studio::data::ContextProvider::sharedModel()->beginTransaction(true);
    change();
}

/// A value as an expression would write it.
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

/// Hears expressions and notes each call, as in "x + 1=3; y=2".
class CallRecorder {
public:
    explicit CallRecorder(studio::data::ExpressionEngine& engine) : m_engine{engine} {}

    /// Subscribes to `text`; the first call is noted too. A name tells handles of one text apart: "h:x=1".
    Handle hear(std::string const& text, std::string const& name = {})
    {
        return m_engine.acquireExpression(text, [=, this](std::string const& heard, auto const& value) {
            note((name.empty() ? name : name + ':') + heard + '=' + shown(value));
        });
    }
    /// The same, without the note of the first call. `then` runs after each note.
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
    /// What was noted since the last time.
    std::string take() { return std::exchange(m_heard, {}); }

private:
    studio::data::ExpressionEngine& m_engine;
    std::string m_heard;
};

}   // namespace support
