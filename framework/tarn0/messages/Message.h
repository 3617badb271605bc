#pragma once

#include "foundation/Export.h"

#include <string>
#include <string_view>

namespace tarn0::messages {

/// Identifier of a message, independent of its arguments and language. Both texts are static.
struct MessageId {
    /// The catalogue of the message.
    char const* catalogue;
    /// The key of the message in its catalogue.
    char const* key;

    friend bool operator==(MessageId const& left, MessageId const& right) noexcept
    {
        return std::string_view{left.catalogue} == right.catalogue && std::string_view{left.key} == right.key;
    }
};

/// One failure of the framework: an identifier and a sentence for display.
class STUDIO_DATA_EXPORT Message {
public:
    /// The catalogue that holds every message of the framework.
    static constexpr char const* CATALOGUE = "tarn0:messages";

    /// The identifier.
    MessageId const& id() const noexcept { return m_id; }
    /// The sentence, UTF-8.
    std::string const& text() const noexcept { return m_text; }

protected:
    /// A message whose text is the sentence and the subject, if there is one; neither ends with a full stop.
    Message(char const* key, std::string const& sentence, std::string const& subject = {});
    ~Message() = default;
    Message(Message const&) = default;
    Message& operator=(Message const&) = default;

private:
    MessageId m_id;
    std::string m_text;
};

}   // namespace tarn0::messages
