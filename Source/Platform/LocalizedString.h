#pragma once

#include <string>

namespace tarn {

/// The text for `key` in the application's default gettext catalogue and the process's locale, the key itself
/// if there is none. Any thread.
[[nodiscard]] std::string localizedString(const std::string& key);

}  // namespace tarn
