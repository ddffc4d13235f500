#pragma once

#include <ios>
#include <streambuf>
#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

/// Appends what is written to a text, which has to outlive the buffer.
class TextSink : public std::streambuf
{
public:
    explicit TextSink(std::string& text) : m_text(text) {}

protected:
    std::streamsize xsputn(const char* data, std::streamsize size) override
    {
        m_text.append(data, static_cast<std::size_t>(size));
        return size;
    }

    int_type overflow(int_type character) override
    {
        if (!traits_type::eq_int_type(character, traits_type::eof()))
        {
            m_text += traits_type::to_char_type(character);
        }
        return traits_type::not_eof(character);
    }

private:
    std::string& m_text;
};

} // namespace Ardo::Kiln::MetadataSerializer
