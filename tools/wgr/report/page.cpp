#include "report/page.h"
#include "errors.h"
void require_page() { throw UsageError("-o: not built in"); }
std::string page_of(const Explanation&) { return ""; }
