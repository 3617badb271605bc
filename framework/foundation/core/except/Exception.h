#pragma once

#include "foundation/Export.h"

#include <exception>
#include <memory>

namespace foundation::core::except {

/// An exception that carries a message. `Msg` is a value with `id()` (whose result has `catalogue` and `key`) and
/// `text() -> std::string const&`; `Base` is the type by which callers that do not know the message may catch it.
/// Copies share one message, so copying, as a throw does, cannot fail.
template <class Msg, class Base = std::exception>
class STUDIO_DATA_EXPORT Exception : public Base {
public:
    /// Carries a copy of the message. *Throws* only `std::bad_alloc`.
    explicit Exception(Msg const& message) : m_message{std::make_shared<Msg const>(message)} {}

    /// The message with its arguments. *Lifetime*: until the last copy of this exception is destroyed.
    Msg const& message() const noexcept { return *m_message; }

    /// The message as a sentence, UTF-8.
    char const* what() const noexcept override { return m_message->text().c_str(); }

    /// The message's key within its catalogue.
    char const* GetID() const noexcept { return m_message->id().key; }

    /// The catalogue and the key of the message.
    auto const& GetBaseMsgIDObj() const noexcept { return m_message->id(); }

    /// A copy of the exception's own type, to keep and throw later.
    [[nodiscard]] virtual std::unique_ptr<Exception> clone() const { return std::make_unique<Exception>(*this); }

    /// *Throws* a copy of this exception, of its own type.
    [[noreturn]] virtual void rethrow() const { throw Exception{*this}; }

private:
    std::shared_ptr<Msg const> m_message;
};

}   // namespace foundation::core::except
