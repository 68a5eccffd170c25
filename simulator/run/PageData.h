#pragma once

#include "simulator/run/RunRecord.h"
#include "simulator/run/RunStory.h"

#include <string>
#include <string_view>

namespace sim
{

/// What the page is made of: a frame in HTML with a place for each of the others.
struct PageParts
{
    std::string_view frame;   // with the lines <!--style-->, <!--library-->, <!--program--> and <!--data-->
    std::string_view style;   // CSS
    std::string_view library; // the drawing library, with its licence
    std::string_view program; // the page's own script
};

/// The run as one HTML file that needs nothing else. Whatever the run's texts hold shows as text.
std::string MakePage(const PageParts& parts, const RunRecord& record, const RunStory& story);

/// The run's data as the page reads them.
std::string PageData(const RunRecord& record, const RunStory& story);

} // namespace sim
