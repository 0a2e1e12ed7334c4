#include "Kyr/TarnKyrSessionProviderOptions.h"

#include "Platform/Device.h"

std::string TarnKyrSessionProviderOptions::defaultUserAgent() {
  return "ios-lumo-ux/6.3.12 (" + tarn::deviceModel() + "; " + tarn::systemVersion() + "; " +
         tarn::localeIdentifier() + ")";
}
