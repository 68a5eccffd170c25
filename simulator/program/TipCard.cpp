#include "simulator/program/TipCard.h"

#include "simulator/timeline/Timeline.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <sstream>

namespace sim
{

namespace
{

constexpr std::size_t narrowest = 56; // characters within the frame

/// The text in lines of at most `width` characters, as far as its words allow for it.
std::vector<std::wstring> Wrapped(const std::wstring& text, std::size_t width)
{
    std::wistringstream words(text);
    std::vector<std::wstring> lines(1);
    for (std::wstring word; words >> word;)
    {
        std::wstring& line = lines.back();
        if (line.empty())
        {
            line = word;
        }
        else if (line.size() + 1 + word.size() <= width)
        {
            line += L" " + word;
        }
        else
        {
            lines.push_back(word);
        }
    }
    return lines;
}

std::wstring Padded(std::wstring text, std::size_t width)
{
    text.resize(std::max(width, text.size()), L' ');
    return text;
}

} // namespace

std::vector<std::string> TipCard(const TipDescription& tip)
{
    const std::wstring icon = L"(" + tip.icon + L")";
    const std::wstring buttons = L"[ " + tip.firstButton + L" ]  [ " + tip.secondButton + L" ]";
    const std::size_t width = std::max({narrowest, icon.size(), tip.title.size(), buttons.size()});
    std::vector<std::wstring> rows{icon, tip.title, L""};
    const std::vector<std::wstring> content = Wrapped(tip.content, width);
    rows.insert(rows.end(), content.begin(), content.end());
    rows.insert(rows.end(), {L"", std::wstring(width - buttons.size(), L' ') + buttons});

    const std::string frame = "+" + std::string(width + 2, '-') + "+";
    std::vector<std::string> card{frame};
    std::ranges::transform(rows, std::back_inserter(card),
                           [width](const std::wstring& row) { return ToUtf8(L"| " + Padded(row, width) + L" |"); });
    card.push_back(frame);
    return card;
}

} // namespace sim
