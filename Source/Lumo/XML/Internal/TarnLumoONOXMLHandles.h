#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>

#include <memory>
#include <string>
#include <string_view>

/// The owners of libxml2's handles, and its text.
namespace tarn::xml {

template <auto function>
struct Deleter {
  template <typename T>
  void operator()(T* handle) const {
    function(handle);
  }
};

using DocumentHandle = std::unique_ptr<xmlDoc, Deleter<xmlFreeDoc>>;
using BufferHandle = std::unique_ptr<xmlBuffer, Deleter<xmlBufferFree>>;
using XPathObjectHandle = std::unique_ptr<xmlXPathObject, Deleter<xmlXPathFreeObject>>;
using XPathContextHandle = std::unique_ptr<xmlXPathContext, Deleter<xmlXPathFreeContext>>;

struct FreeText {
  void operator()(xmlChar* text) const { xmlFree(text); }
};
using TextHandle = std::unique_ptr<xmlChar, FreeText>;

/// Valid as long as the tree; empty for null.
[[nodiscard]] inline std::string_view view(const xmlChar* text) {
  return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(text));
}

[[nodiscard]] inline const xmlChar* xmlText(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

}  // namespace tarn::xml
