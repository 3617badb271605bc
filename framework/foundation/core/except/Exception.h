#pragma once

#include "foundation/Export.h"

#include <exception>
#include <memory>

namespace foundation::core::except {

/// A message that is thrown. `Msg` is a value with `id()` (whose result has `catalogue` and `key`) and
/// `text() -> std::string const&`; `Base` is what callers that do not know the message may catch it as.
/// Copies share one message, so that copying, as the language does while it throws, cannot fail.
template <class Msg, class Base = std::exception>
class STUDIO_DATA_EXPORT Exception : public Base {
public:
    /// Carries a copy of the message. *Throws* only `std::bad_alloc`.
    explicit Exception(Msg const& message) : m_message{std::make_shared<Msg const>(message)} {}

    /// The message with its arguments. *Lifetime*: as long as this exception or a copy of it.
    Msg const& message() const noexcept { return *m_message; }

    /// The message as a sentence, UTF-8.
    char const* what() const noexcept override { return m_message->text().c_str(); }

    /// The message's key within its catalogue.
    char const* GetID() const noexcept { return m_message->id().key; }

    /// The catalogue and the key of the message.
    auto const& GetBaseMsgIDObj() const noexcept { return m_message->id(); }

    /// A copy to keep and to throw later, of the exception's own type.
    virtual std::unique_ptr<Exception> clone() const { return std::make_unique<Exception>(*this); }

    /// Throws a copy of this exception, of its own type.
    [[noreturn]] virtual void rethrow() const { throw Exception{*this}; }

private:
    std::shared_ptr<Msg const> m_message;
};

}   // namespace foundation::core::except
