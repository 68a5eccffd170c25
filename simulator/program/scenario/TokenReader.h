#pragma once

#include "simulator/program/scenario/Tokens.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sim::scenario
{

/// Reads the tokens of one line from left to right. Every operation that finds something else than it needs throws a
/// ScenarioError that says what was expected and what is there. Used by one thread.
class TokenReader
{
public:
    explicit TokenReader(std::vector<Token> tokens) : tokens_(std::move(tokens)) {}

    bool AtEnd() const { return next_ == tokens_.size(); }

    /// Takes the words if they come next, and tells whether they did.
    bool Accept(std::string_view words);
    bool AcceptColon();

    /// Takes the words, which have to come next.
    void Need(std::string_view words);
    void NeedColon();
    void NeedEnd() const;

    /// Takes a quoted text; `meaning` names it in the message, such as "the headset's name".
    std::string NeedQuoted(std::string_view meaning);
    std::string NeedWord(std::string_view meaning);
    std::string QuotedOr(std::string_view otherwise);

    /// A time such as 200ms or 1.5s.
    std::chrono::milliseconds NeedTime();
    bool TimeIsNext() const;
    std::uint32_t NeedNumber(std::string_view meaning);

    /// A volume level, 0 to 1, such as 0.32.
    float NeedLevel();

    /// One of the words, by the value that stands with it.
    template <typename Value>
    Value NeedOneOf(std::string_view meaning, std::span<const std::pair<std::string_view, Value>> choices)
    {
        std::string known;
        for (const auto& [words, value] : choices)
        {
            if (Accept(words))
            {
                return value;
            }
            known += (known.empty() ? "" : ", ") + std::string(words);
        }
        Refuse(std::string(meaning) + " (" + known + ")");
    }

    /// Throws: `expected` should have come next.
    [[noreturn]] void Refuse(std::string_view expected) const;

private:
    const Token* Next() const { return AtEnd() ? nullptr : &tokens_[next_]; }

    std::vector<Token> tokens_;
    std::size_t next_ = 0;
};

} // namespace sim::scenario
