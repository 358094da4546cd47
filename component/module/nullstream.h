#pragma once

#include <ostream>
#include <streambuf>

namespace Mardu {

/// A stream buffer that accepts every character and stores none.
template <class Char>
class basic_nullbuf : public std::basic_streambuf<Char>
{
protected:
    using int_type = typename std::basic_streambuf<Char>::int_type;

    /// The character itself, which must not read as a failure where it equals the end mark.
    int_type overflow(int_type character) override
    {
        return std::basic_streambuf<Char>::traits_type::not_eof(character);
    }
};

/// An output stream that formats as usual and writes nowhere.
template <class Char>
class basic_nullstream : public std::basic_ostream<Char>
{
public:
    basic_nullstream() : std::basic_ostream<Char>(nullptr) { this->init(&buffer_); }

private:
    basic_nullbuf<Char> buffer_;
};

/// The component's diagnostic stream, made when the module starts; the component keeps no log.
inline basic_nullstream<wchar_t> diagnosticStream;

inline std::wostream& DiagnosticStream() noexcept
{
    return diagnosticStream;
}

} // namespace Mardu
