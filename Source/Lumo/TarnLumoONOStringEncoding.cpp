#include "Lumo/TarnLumoONOStringEncoding.h"

#include <iconv.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <type_traits>

namespace tarn {
namespace {

using Encoding = TarnLumoONOStringEncoding;

struct Name {
  const char* text;
  Encoding encoding;
};

// The first name of an encoding is the one that conversion uses.
constexpr std::array kNames = {
    Name{"UTF-8", Encoding::UTF8},
    Name{"US-ASCII", Encoding::ASCII},
    Name{"ASCII", Encoding::ASCII},
    Name{"ISO-8859-1", Encoding::ISOLatin1},
    Name{"ISO_8859-1", Encoding::ISOLatin1},
    Name{"latin1", Encoding::ISOLatin1},
    Name{"ISO-8859-2", Encoding::ISOLatin2},
    Name{"latin2", Encoding::ISOLatin2},
    Name{"windows-1250", Encoding::windows1250},
    Name{"windows-1251", Encoding::windows1251},
    Name{"windows-1252", Encoding::windows1252},
    Name{"windows-1253", Encoding::windows1253},
    Name{"windows-1254", Encoding::windows1254},
    Name{"Shift_JIS", Encoding::shiftJIS},
    Name{"EUC-JP", Encoding::EUCJP},
    Name{"ISO-2022-JP", Encoding::ISO2022JP},
    Name{"UTF-16", Encoding::UTF16},
    Name{"UTF-16BE", Encoding::UTF16BigEndian},
    Name{"UTF-16LE", Encoding::UTF16LittleEndian},
    Name{"UTF-32", Encoding::UTF32},
    Name{"UTF-32BE", Encoding::UTF32BigEndian},
    Name{"UTF-32LE", Encoding::UTF32LittleEndian},
};

struct CloseConverter {
  void operator()(void* converter) const { iconv_close(converter); }
};
using Converter = std::unique_ptr<std::remove_pointer_t<iconv_t>, CloseConverter>;

[[nodiscard]] Error conversionError(std::string reason) {
  Error error;
  error.domain = TarnLumoONOXMLErrorDomain;
  error.failureReason = std::move(reason);
  return error;
}

}  // namespace

Encoding encodingNamed(std::string_view name) {
  const auto found = std::find_if(
      kNames.begin(), kNames.end(),
      [text = std::string(name)](const Name& known) { return strcasecmp(known.text, text.c_str()) == 0; });
  return found == kNames.end() ? Encoding::unknown : found->encoding;
}

Result<std::string> bytesOfText(std::string_view text, Encoding encoding) {
  if (encoding == Encoding::UTF8) return std::string(text);
  const auto name = std::find_if(kNames.begin(), kNames.end(),
                                 [encoding](const Name& known) { return known.encoding == encoding; });
  if (name == kNames.end()) return conversionError("The text's encoding is unknown");
  // iconv_open answers a failure with the pointer -1.
  iconv_t opened = iconv_open(name->text, "UTF-8");
  if (opened == reinterpret_cast<iconv_t>(-1)) return conversionError("The text's encoding is not supported");
  const Converter converter(opened);

  std::string input(text);
  char* in = input.data();
  std::size_t left = input.size();
  std::string bytes;
  std::array<char, 4096> chunk{};
  bool ended = false;
  while (!ended) {
    char* out = chunk.data();
    std::size_t room = chunk.size();
    // Without input, the converter writes what returns to its initial state.
    ended = left == 0;
    const std::size_t done =
        iconv(converter.get(), ended ? nullptr : &in, ended ? nullptr : &left, &out, &room);
    if (done == static_cast<std::size_t>(-1) && errno != E2BIG)
      return conversionError(std::string("The text cannot be written as ") + name->text);
    bytes.append(chunk.data(), chunk.size() - room);
  }
  return bytes;
}

}  // namespace tarn
