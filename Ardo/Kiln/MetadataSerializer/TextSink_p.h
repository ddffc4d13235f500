#pragma once

#include <algorithm>
#include <array>
#include <ios>
#include <streambuf>
#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

/// A stream buffer that appends to a text, which must outlive it. The writers of documents write mostly single
/// characters, which are buffered until a flush.
class TextSink : public std::streambuf
{
public:
    explicit TextSink(std::string& text) : m_text(text) { Empty(); }

protected:
    std::streamsize xsputn(const char* data, std::streamsize size) override
    {
        if (size > epptr() - pptr())
        {
            sync();
            m_text.append(data, static_cast<std::size_t>(size));
        }
        else
        {
            std::copy_n(data, size, pptr());
            pbump(static_cast<int>(size));
        }
        return size;
    }

    int_type overflow(int_type character) override
    {
        sync();
        return traits_type::eq_int_type(character, traits_type::eof()) ? traits_type::not_eof(character)
                                                                       : sputc(traits_type::to_char_type(character));
    }

    int sync() override
    {
        m_text.append(pbase(), pptr());
        Empty();
        return 0;
    }

private:
    void Empty() { setp(m_buffer.data(), m_buffer.data() + m_buffer.size()); }

    std::string& m_text;
    std::array<char, 4096> m_buffer;
};

} // namespace Ardo::Kiln::MetadataSerializer
