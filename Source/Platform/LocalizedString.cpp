#include "Platform/LocalizedString.h"

#include <libintl.h>

namespace tarn {

std::string localizedString(const std::string& key) {
  if (key.empty()) return key;  // gettext returns the catalogue's header for the empty key
  const char* const text = gettext(key.c_str());
  return text == key.c_str() ? key : std::string(text);
}

}  // namespace tarn
