// The files that a page is put together from, as they were when the tool was built.
#pragma once

#include <string_view>

extern const std::string_view kPageHtml;
extern const std::string_view kPageCss;
extern const std::string_view kPageScript;
// Empty when uPlot was not to be had.
extern const std::string_view kUplotScript;
extern const std::string_view kUplotCss;
extern const std::string_view kUplotLicence;
