// The files that pages are put together from, as they were when the tool was built.
#pragma once

#include <string_view>

namespace wgr {

// Of all pages.
extern const std::string_view kShellHtml;
extern const std::string_view kCommonCss;
extern const std::string_view kCommonScript;
extern const std::string_view kFiguresScript;

// Of wgr explain.
extern const std::string_view kExplainHtml;
extern const std::string_view kExplainCss;
extern const std::string_view kIndexHtml;
extern const std::string_view kIndexScript;
extern const std::string_view kVerdictScript;
extern const std::string_view kVerdictCss;
extern const std::string_view kSamplesScript;
extern const std::string_view kLanesScript;
extern const std::string_view kTimelineScript;
extern const std::string_view kDetailsScript;
extern const std::string_view kListScript;
extern const std::string_view kExplainScript;

// Of wgr build and wgr eval.
extern const std::string_view kModelHtml;
extern const std::string_view kModelCss;
extern const std::string_view kClassesScript;
extern const std::string_view kAdviceScript;
extern const std::string_view kModelScript;

// Of wgr doctor and wgr log.
extern const std::string_view kFindingsHtml;
extern const std::string_view kFindingsCss;
extern const std::string_view kFindingsScript;

}  // namespace wgr
