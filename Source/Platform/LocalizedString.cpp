#include "Platform/LocalizedString.h"

#include <libintl.h>

namespace tarn {

std::string localizedString(const std::string& key) {
  if (key.empty()) return key;  // gettext answers the empty key with the catalogue's header
  const char* const text = gettext(key.c_str());
  return text == key.c_str() ? key : std::string(text);
}

}  // namespace tarn
