#include "machine/Interposed.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/Expression.h"
#include "support/Allocations.h"

#include <memory>

namespace machine {

namespace {

std::size_t s_left = 0;   // look-ups until the one that fails; 0: none fails

}   // namespace

using Provider = std::shared_ptr<studio::data::ContextProvider>;

// The symbol that the linker calls instead of the look-up, and the look-up itself.
Provider wrappedLookUp(boost::uuids::uuid const& id) asm(
    "__wrap__ZN6studio4data5model18getContextProviderERKN5boost5uuids4uuidE");
Provider realLookUp(boost::uuids::uuid const& id) asm(
    "__real__ZN6studio4data5model18getContextProviderERKN5boost5uuids4uuidE");

Provider wrappedLookUp(boost::uuids::uuid const& id)
{
    if (s_left != 0 && !support::Exempt::isOn() && --s_left == 0)
        throw std::bad_weak_ptr{};
    return realLookUp(id);
}

void wrappedEvaluate(studio::data::Expression* expression) asm("__wrap__ZN6studio4data10Expression8evaluateEv");
void realEvaluate(studio::data::Expression* expression) asm("__real__ZN6studio4data10Expression8evaluateEv");

void wrappedEvaluate(studio::data::Expression* expression)
{
    {
        support::Exempt const ours;
        if (onEvaluation())
            onEvaluation()(*expression);
    }
    realEvaluate(expression);
}

std::function<void(studio::data::Expression const&)>& onEvaluation() noexcept
{
    static std::function<void(studio::data::Expression const&)> s_function;
    return s_function;
}

FailingLookUp::FailingLookUp(std::size_t skipped) noexcept
{
    s_left = skipped + 1;
}

FailingLookUp::~FailingLookUp()
{
    s_left = 0;
}

bool FailingLookUp::happened() const noexcept
{
    return s_left == 0;
}

}   // namespace machine
