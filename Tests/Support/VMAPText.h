#pragma once

#include <string>
#include <string_view>

namespace tarn::test {

/// A VMAP document around `breaks`, which begin on line 3. The extension (prefix "mh") says payload 660,
/// content 600.
[[nodiscard]] std::string vmap(std::string_view breaks);

/// The same around `extensions` and `breaks`; `definitions` are the root's attributes.
[[nodiscard]] std::string vmap(std::string_view definitions, std::string_view extensions,
                               std::string_view breaks);

/// An AdBreak around what stands in its VAST element.
[[nodiscard]] std::string adBreak(std::string_view timeOffset, std::string_view ads);

/// An Ad around what stands in its Creatives.
[[nodiscard]] std::string ad(std::string_view id, std::string_view creatives);

/// A creative with a Linear of that duration around `content`.
[[nodiscard]] std::string linear(std::string_view duration, std::string_view content = "",
                                 std::string_view attributes = "");

/// An AdBreak with one ad of that duration.
[[nodiscard]] std::string simpleBreak(std::string_view timeOffset, std::string_view duration,
                                      std::string_view id = "a");

/// The text of a file in the sample folder.
[[nodiscard]] std::string sample(std::string_view name);

}  // namespace tarn::test
