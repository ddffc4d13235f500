#pragma once

#include <cstddef>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

/// Walks through a JSON document without recursion and calls an observer, in document order:
///
///   Member(at)             a member of an object, or an element of an array, begins at the offset \p at
///   Enter(at), Leave()     the content of an object or array begins, ends
///
/// The text need not be valid JSON: the parser of the property tree reports errors.
template <typename Observer>
class JsonScanner
{
public:
    JsonScanner(std::string_view text, Observer& observer) : m_text(text), m_observer(observer) {}

    void Scan()
    {
        bool expected = false; // a member, unless the container ends
        for (std::size_t at = 0; at < m_text.size(); ++at)
        {
            const char c = m_text[at];
            if (c == ' ' || (c >= '\t' && c <= '\r'))
            {
                continue;
            }
            if (expected && c != '}' && c != ']')
            {
                m_observer.Member(at);
            }
            expected = c == '{' || c == '[' || c == ',';
            switch (c)
            {
            case '"':
                at = FindStringEnd(at);
                break;
            case '{':
            case '[':
                m_observer.Enter(at);
                break;
            case '}':
            case ']':
                m_observer.Leave();
                break;
            default:
                break;
            }
        }
    }

private:
    /// The quote that ends the string whose first quote is at \p begin, or the end of the text.
    std::size_t FindStringEnd(std::size_t begin) const
    {
        for (std::size_t end = m_text.find('"', begin + 1); end != std::string_view::npos;
             end = m_text.find('"', end + 1))
        {
            // Backslashes are escaped by backslashes: only an odd number of them escapes the quote.
            std::size_t first = end;
            while (first > begin + 1 && m_text[first - 1] == '\\')
            {
                --first;
            }
            if ((end - first) % 2 == 0)
            {
                return end;
            }
        }
        return m_text.size();
    }

    std::string_view m_text;
    Observer& m_observer;
};

} // namespace Ardo::Kiln::MetadataSerializer
