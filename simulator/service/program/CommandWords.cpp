#include "simulator/service/program/CommandWords.h"

#include <cstddef>
#include <limits>
#include <stdexcept>
#include <utility>

namespace sim
{

namespace
{

/// Takes words off the front of a line.
class Splitter
{
public:
    explicit Splitter(std::string_view line) : rest_(line) {}

    bool SkipBlanks()
    {
        const std::size_t begin = rest_.find_first_not_of(" \t\r");
        rest_.remove_prefix(begin == std::string_view::npos ? rest_.size() : begin);
        return !rest_.empty();
    }

    std::string Word() { return rest_.front() == '"' ? QuotedWord() : PlainWord(); }

private:
    std::string PlainWord()
    {
        const std::string word(rest_.substr(0, rest_.find_first_of(" \t\r")));
        rest_.remove_prefix(word.size());
        return word;
    }

    std::string QuotedWord()
    {
        std::string word;
        Take();
        for (char character = Take(); character != '"'; character = Take())
        {
            word.push_back(character == '\\' ? Escaped() : character);
        }
        return word;
    }

    char Escaped()
    {
        const char character = Take();
        if (character != 'x')
        {
            return character;
        }
        const std::string digits{Take(), Take()};
        return static_cast<char>(std::stoi(digits, nullptr, 16));
    }

    char Take()
    {
        if (rest_.empty())
        {
            throw std::invalid_argument("a quote is missing");
        }
        const char character = rest_.front();
        rest_.remove_prefix(1);
        return character;
    }

    std::string_view rest_;
};

} // namespace

CommandWords::CommandWords(std::string_view line)
{
    Splitter splitter(line);
    while (splitter.SkipBlanks())
    {
        words_.push_back(splitter.Word());
    }
}

std::string CommandWords::Text()
{
    if (words_.empty())
    {
        throw std::invalid_argument("a word is missing");
    }
    std::string word = std::move(words_.front());
    words_.pop_front();
    return word;
}

std::int32_t CommandWords::Number()
{
    const std::string word = Text();
    std::size_t used = 0;
    const long long number = std::stoll(word, &used, word.starts_with("0x") ? 16 : 10);
    if (used != word.size() || number < std::numeric_limits<std::int32_t>::min() ||
        number > std::numeric_limits<std::int32_t>::max())
    {
        throw std::invalid_argument(word + " is no number of 32 bits");
    }
    return static_cast<std::int32_t>(number);
}

bool CommandWords::OneOf(std::string_view yes, std::string_view no)
{
    const std::string word = Text();
    if (word != yes && word != no)
    {
        throw std::invalid_argument(word + " is neither " + std::string(yes) + " nor " + std::string(no));
    }
    return word == yes;
}

void CommandWords::ExpectEnd() const
{
    if (!words_.empty())
    {
        throw std::invalid_argument(words_.front() + " is too much");
    }
}

} // namespace sim
