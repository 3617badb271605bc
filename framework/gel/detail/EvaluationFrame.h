#pragma once

#include "gel/DataSource.h"
#include "gel/detail/Instructions.h"
#include "gel/detail/Operand.h"
#include "gel/detail/SpareMemory.h"

#include <array>
#include <cstddef>
#include <new>
#include <optional>
#include <string>

namespace gel::detail {

/// Memory of one evaluation: its stack, the values it reads again, and its fetched and temporary texts. The usual sizes
/// are in the object, uninitialised until used; larger programs use spare memory of the thread.
class EvaluationMemory {
protected:
    explicit EvaluationMemory(Routine const& routine)
    {
        if (routine.symbols.size() > NEAR_SYMBOLS || routine.stackDepth > NEAR_OPERANDS)
            useFarMemory(routine);
        if (routine.rereads)
            forgetAll(routine.symbols.size());
    }

    static constexpr std::size_t NEAR_OPERANDS = 24;
    static constexpr std::size_t NEAR_SYMBOLS = 16;

    union Text {
        Text() {}
        ~Text() {}
        Value value;
    };

    void useFarMemory(Routine const& routine);
    void forgetAll(std::size_t symbols) noexcept;

    std::array<Operand, NEAR_OPERANDS + 1> m_nearStack;
    std::array<Operand, NEAR_SYMBOLS> m_nearKnown;
    std::array<Text, NEAR_SYMBOLS> m_nearTexts;
    Operand* m_stack = m_nearStack.data();
    Operand* m_known = m_nearKnown.data();   // by symbol, absent until read; used only if some are read again
    Text* m_texts = m_nearTexts.data();      // the fetched ones
    std::size_t m_textCount = 0;
    std::optional<SpareMemory> m_far;
    std::optional<Temporaries> m_temporaries;   // made by the first operation that computes a text
};

/// State of one evaluation by the interpreter with that tracer. Each interpreter has these functions for itself, so
/// that the compiler inlines them: shared ones cost an evaluation 4 % more instructions.
template <class Tracer>
class EvaluationFrame : private EvaluationMemory {
public:
    explicit EvaluationFrame(Routine const& routine) : EvaluationMemory(routine) {}
    ~EvaluationFrame()
    {
        while (m_textCount > 0)
            m_texts[--m_textCount].value.~Value();
    }
    EvaluationFrame(EvaluationFrame const&) = delete;
    EvaluationFrame& operator=(EvaluationFrame const&) = delete;

    /// The position below the first operand, so that the top of an empty stack has an address.
    Operand* bottom() noexcept { return m_stack; }
    Temporaries& temporaries() noexcept { return m_temporaries ? *m_temporaries : m_temporaries.emplace(); }

    /// Fetches the value of a symbol.
    Operand fetch(std::uint32_t index, std::string const& symbol, DataSource const& source)
    {
        Value const& value = *::new (static_cast<void*>(&m_texts[m_textCount])) Value(source.fetch(index, symbol));
        if (value.isString())
            ++m_textCount;   // other values need no destructor: the next one overwrites the slot
        return Operand(value);
    }

    /// The value of a symbol, fetched on first use.
    Operand read(std::uint32_t index, std::string const& symbol, DataSource const& source)
    {
        if (!m_known[index].isAbsent())
            return m_known[index];
        Operand const value = fetch(index, symbol, source);
        m_known[index] = value;
        return value;
    }
};

}   // namespace gel::detail
