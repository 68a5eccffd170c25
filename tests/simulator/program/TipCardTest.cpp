#include "simulator/program/TipCard.h"

#include <gmock/gmock.h>

namespace sim
{

namespace
{

using testing::ElementsAre;

TEST(TipCard, ShowsIconTitleContentAndButtons)
{
    EXPECT_THAT(TipCard({.icon = L"C:\\Host\\icon.png",
                         .title = L"Headset audio",
                         .content = L"The audio of Buds has moved to Phone.",
                         .firstButton = L"Got it",
                         .secondButton = L"Reconnect"}),
                ElementsAre("+----------------------------------------------------------+",
                            "| (C:\\Host\\icon.png)                                       |",
                            "| Headset audio                                            |",
                            "|                                                          |",
                            "| The audio of Buds has moved to Phone.                    |",
                            "|                                                          |",
                            "|                                [ Got it ]  [ Reconnect ] |",
                            "+----------------------------------------------------------+"));
}

TEST(TipCard, BreaksALongContentBetweenWords)
{
    const std::vector<std::string> card = TipCard(
        {.content = L"The audio of Buds has moved to Phone. The volume of this computer has been turned down."});
    EXPECT_EQ(card.at(4), "| The audio of Buds has moved to Phone. The volume of this |");
    EXPECT_EQ(card.at(5), "| computer has been turned down.                           |");
}

TEST(TipCard, GrowsWithWhatCannotBeBroken)
{
    const std::vector<std::string> card = TipCard({.icon = std::wstring(60, L'i')});
    EXPECT_EQ(card.at(0), "+" + std::string(64, '-') + "+");
    EXPECT_EQ(card.at(1), "| (" + std::string(60, 'i') + ") |");
    EXPECT_EQ(TipCard({.content = std::wstring(70, L'c')}).at(4), "| " + std::string(70, 'c') + " |");
}

TEST(TipCard, CountsCharactersNotBytes)
{
    EXPECT_EQ(TipCard({.title = L"Kopfh\u00f6rerton"}).at(2),
              "| Kopfh\xc3\xb6rerton                                             |");
}

} // namespace

} // namespace sim
