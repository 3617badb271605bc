#pragma once

#include <functional>
#include <utility>

namespace foundation {

/// Holds a callback that may destroy its holder, and that may be called from inside itself.
template <class Signature>
class LentFunction;

/// The call owns the function while it runs, so that the function lives until it returns, whatever it does.
template <class... Arguments>
class LentFunction<void(Arguments...)> {
public:
    /// What is held.
    using Function = std::function<void(Arguments...)>;

    /// Makes a holder of `function`, which may be empty.
    explicit LentFunction(Function function) noexcept : m_function{std::move(function)} {}
    LentFunction(LentFunction const&) = delete;
    LentFunction& operator=(LentFunction const&) = delete;
    ~LentFunction() { reset(); }

    /// True if there is a function to call.
    explicit operator bool() const noexcept
    {
        return m_running ? m_running->function != nullptr : m_function != nullptr;
    }
    /// Calls the function. *Throws* what the function throws, `std::bad_function_call` if there is none.
    void operator()(Arguments... arguments) const
    {
        if (m_running)
            return m_running->function(arguments...);   // called from inside itself
        Loan const loan{*this};
        loan.function(arguments...);
    }
    /// Destroys the function; one that is running lives until it returns.
    void reset() noexcept
    {
        if (m_running)
            m_running->lender = nullptr;
        m_running = nullptr;
        m_function = nullptr;
    }

private:
    struct Loan {
        explicit Loan(LentFunction const& from) noexcept : lender{&from}
        {
            function.swap(from.m_function);
            from.m_running = this;
        }
        Loan(Loan const&) = delete;
        Loan& operator=(Loan const&) = delete;
        ~Loan()
        {
            if (!lender)
                return;
            lender->m_function.swap(function);
            lender->m_running = nullptr;
        }

        LentFunction const* lender;   // null once it gave up the function
        Function function;
    };

    mutable Function m_function;
    mutable Loan* m_running = nullptr;
};

}   // namespace foundation
