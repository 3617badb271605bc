#include "gel/Value.h"

namespace gel {

Value::Value(char const* text)
{
    if (text)
        m_content.emplace<std::string>(text);
}

double Value::getNumeric() const
{
    if (isLogical())
        return getBool() ? 1.0 : 0.0;
    return getDouble();
}

}   // namespace gel
