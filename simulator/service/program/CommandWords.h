#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace sim
{

/// The words of a command line, taken one after the other. Words are separated by blanks; a word in double quotes may
/// hold blanks and be empty, and in it a backslash stands before a quote or a backslash, or begins \xNN for a byte.
/// Every operation throws std::invalid_argument when the line is not as it expects.
class CommandWords
{
public:
    explicit CommandWords(std::string_view line);

    bool AtEnd() const { return words_.empty(); }
    std::string Text();

    /// Decimal, or hexadecimal after 0x.
    std::int32_t Number();

    /// True for the first word, false for the second.
    bool OneOf(std::string_view yes, std::string_view no);

    void ExpectEnd() const;

private:
    std::deque<std::string> words_;
};

} // namespace sim
