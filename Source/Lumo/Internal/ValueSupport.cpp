#include "Lumo/Internal/ValueSupport.h"

#include <fmt/format.h>

namespace tarn {

Description::Description(std::string_view className, const void* object)
    : text_(fmt::format("<{}: {};", className, object)) {}

}  // namespace tarn
