#include "simulator/program/scenario/TokenReader.h"

#include "simulator/program/scenario/ScenarioError.h"

#include <charconv>
#include <cstddef>
#include <optional>
#include <sstream>
#include <system_error>

namespace sim::scenario
{

namespace
{

constexpr double longestTimeMs = 3600'000;

std::vector<std::string> Split(std::string_view words)
{
    std::istringstream stream{std::string(words)};
    std::vector<std::string> split;
    for (std::string word; stream >> word;)
    {
        split.push_back(word);
    }
    return split;
}

std::optional<std::chrono::milliseconds> ParseTime(std::string_view text)
{
    double value = 0;
    const auto [unit, error] = std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    const std::string_view unitText = text.substr(static_cast<std::size_t>(unit - text.data()));
    if (error != std::errc() || value < 0 || (unitText != "ms" && unitText != "s"))
    {
        return std::nullopt;
    }
    const double milliseconds = unitText == "s" ? value * 1000 : value;
    if (milliseconds > longestTimeMs)
    {
        return std::nullopt;
    }
    return std::chrono::milliseconds(static_cast<std::int64_t>(milliseconds + 0.5));
}

std::string Shown(const Token* token)
{
    if (token == nullptr)
    {
        return "the line ends";
    }
    return token->kind == TokenKind::Quoted ? "there is the text \"" + token->text + "\""
                                            : "there is \"" + token->text + "\"";
}

} // namespace

bool TokenReader::Accept(std::string_view words)
{
    std::size_t position = next_;
    for (const std::string& word : Split(words))
    {
        if (position == tokens_.size() || tokens_[position].kind != TokenKind::Word || tokens_[position].text != word)
        {
            return false;
        }
        ++position;
    }
    next_ = position;
    return true;
}

bool TokenReader::AcceptColon()
{
    const bool colon = !AtEnd() && Next()->kind == TokenKind::Colon;
    next_ += colon ? 1 : 0;
    return colon;
}

void TokenReader::Need(std::string_view words)
{
    if (!Accept(words))
    {
        Refuse("\"" + std::string(words) + "\"");
    }
}

void TokenReader::NeedColon()
{
    if (!AcceptColon())
    {
        Refuse("\":\"");
    }
}

void TokenReader::NeedEnd() const
{
    if (!AtEnd())
    {
        Refuse("the end of the line");
    }
}

std::string TokenReader::NeedQuoted(std::string_view meaning)
{
    if (AtEnd() || Next()->kind != TokenKind::Quoted)
    {
        Refuse(std::string(meaning) + " in quotes");
    }
    return tokens_[next_++].text;
}

std::string TokenReader::QuotedOr(std::string_view otherwise)
{
    return !AtEnd() && Next()->kind == TokenKind::Quoted ? tokens_[next_++].text : std::string(otherwise);
}

std::string TokenReader::NeedWord(std::string_view meaning)
{
    if (AtEnd() || Next()->kind != TokenKind::Word)
    {
        Refuse(meaning);
    }
    return tokens_[next_++].text;
}

bool TokenReader::TimeIsNext() const
{
    return !AtEnd() && Next()->kind == TokenKind::Word && ParseTime(Next()->text);
}

std::chrono::milliseconds TokenReader::NeedTime()
{
    if (!TimeIsNext())
    {
        Refuse("a time of at most an hour, such as 200ms or 1.5s,");
    }
    return *ParseTime(tokens_[next_++].text);
}

std::uint32_t TokenReader::NeedNumber(std::string_view meaning)
{
    std::uint32_t value = 0;
    const std::string text = AtEnd() || Next()->kind != TokenKind::Word ? "" : Next()->text;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
    {
        Refuse(meaning);
    }
    ++next_;
    return value;
}

float TokenReader::NeedLevel()
{
    float value = -1;
    const std::string text = AtEnd() || Next()->kind != TokenKind::Word ? "" : Next()->text;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    if (error != std::errc() || end != text.data() + text.size() || !(value >= 0 && value <= 1))
    {
        Refuse("a level from 0 to 1, such as 0.32,");
    }
    ++next_;
    return value;
}

void TokenReader::Refuse(std::string_view expected) const
{
    throw ScenarioError("expected " + std::string(expected) + (AtEnd() ? " where " : " but ") + Shown(Next()));
}

} // namespace sim::scenario
