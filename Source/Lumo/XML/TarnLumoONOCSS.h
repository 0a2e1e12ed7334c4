#pragma once

#include <string>
#include <string_view>

/// The XPath expression of a simple CSS selector: tags, "*", "#id", ".class", "[attribute]", the combinators
/// " ", ">", "+", "~" with spaces around them, and groups joined with ",". Any thread.
///
/// "div > p.lead" reads as ".//div/p[contains(concat(' ',normalize-space(@class),' '),' lead ')]". An id is
/// looked for at the start of the whole selector, so it works in selectors of one token only; the expression
/// of a selector outside this grammar may be invalid.
[[nodiscard]] std::string TarnLumoONOXPathFromCSS(std::string_view selector);
