#include "XML/Internal/TarnLumoONOStringEncoding.h"

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <array>
#include <charconv>
#include <limits>
#include <map>
#include <memory>

#include "Platform/Text.h"

namespace tarn {
namespace {

using Encoding = TarnLumoONOStringEncoding;

/// Where the platform's own numbers of encodings begin, then those that continue its scheme.
constexpr std::uint64_t kPlatform = 0x80000000;
constexpr std::uint64_t kCodePage = 0xc0000000;
constexpr std::uint64_t kSwappedCodePage = 0xc1000000;
constexpr std::uint64_t kRegistered = 0xc2000000;
constexpr std::uint64_t kOther = 0xc3000000;

struct Row {
  const char* name;
  std::uint64_t code;
};

// A code's first name is the one that conversion uses. Of two names of one converter each has its own code;
// the first is that of the converter's other names.
constexpr std::array kRows = {
    Row{"UTF-8", 4},
    Row{"US-ASCII", 1},
    Row{"ISO-8859-1", 5},
    Row{"ISO-8859-2", 9},
    Row{"windows-1250", 15},
    Row{"windows-1251", 11},
    Row{"windows-1252", 12},
    Row{"windows-1253", 13},
    Row{"windows-1254", 14},
    Row{"Shift_JIS", 8},
    Row{"EUC-JP", 3},
    Row{"ISO-2022-JP", 21},
    Row{"UTF-16", 10},
    Row{"UTF-16BE", 0x90000100},
    Row{"UTF-16LE", 0x94000100},
    Row{"UTF-32", 0x8c000100},
    Row{"UTF-32BE", 0x98000100},
    Row{"UTF-32LE", 0x9c000100},
    Row{"UTF-16,version=1", 10},
    Row{"UTF-16,version=2", 10},
    Row{"UTF-16BE,version=1", 0x90000100},
    Row{"UTF-16LE,version=1", 0x94000100},
    Row{"macintosh", 30},
    Row{"UTF-7", kPlatform + 0x4000100},
    Row{"x-mac-greek", kPlatform + 0x0006},
    Row{"x-mac-cyrillic", kPlatform + 0x0007},
    Row{"x-mac-centraleurroman", kPlatform + 0x001d},
    Row{"x-mac-turkish", kPlatform + 0x0023},
    Row{"ISO-8859-3", kPlatform + 0x0203},
    Row{"ISO-8859-4", kPlatform + 0x0204},
    Row{"ISO-8859-5", kPlatform + 0x0205},
    Row{"ISO-8859-6", kPlatform + 0x0206},
    Row{"ISO-8859-7", kPlatform + 0x0207},
    Row{"ISO-8859-8", kPlatform + 0x0208},
    Row{"ISO-8859-9", kPlatform + 0x0209},
    Row{"ISO-8859-10", kPlatform + 0x020a},
    Row{"ISO-8859-11", kPlatform + 0x020b},
    Row{"ISO-8859-13", kPlatform + 0x020d},
    Row{"ISO-8859-14", kPlatform + 0x020e},
    Row{"ISO-8859-15", kPlatform + 0x020f},
    Row{"IBM437", kPlatform + 0x0400},
    Row{"ibm-737", kPlatform + 0x0405},
    Row{"IBM775", kPlatform + 0x0406},
    Row{"IBM850", kPlatform + 0x0410},
    Row{"IBM851", kPlatform + 0x0411},
    Row{"IBM852", kPlatform + 0x0412},
    Row{"IBM855", kPlatform + 0x0413},
    Row{"IBM857", kPlatform + 0x0414},
    Row{"IBM860", kPlatform + 0x0415},
    Row{"IBM861", kPlatform + 0x0416},
    Row{"IBM862", kPlatform + 0x0417},
    Row{"IBM863", kPlatform + 0x0418},
    Row{"IBM864", kPlatform + 0x0419},
    Row{"IBM865", kPlatform + 0x041a},
    Row{"IBM866", kPlatform + 0x041b},
    Row{"IBM869", kPlatform + 0x041c},
    Row{"windows-874", kPlatform + 0x041d},
    Row{"windows-31j", kPlatform + 0x0420},
    Row{"windows-949", kPlatform + 0x0422},
    Row{"windows-1255", kPlatform + 0x0505},
    Row{"windows-1256", kPlatform + 0x0506},
    Row{"windows-1257", kPlatform + 0x0507},
    Row{"windows-1258", kPlatform + 0x0508},
    Row{"GB_2312-80", kPlatform + 0x0630},
    Row{"GBK", kPlatform + 0x0631},
    Row{"GB18030", kPlatform + 0x0632},
    Row{"KS_C_5601-1987", kPlatform + 0x0640},
    Row{"ISO-2022-JP-2", kPlatform + 0x0821},
    Row{"ISO-2022-JP-1", kPlatform + 0x0822},
    Row{"ISO-2022-CN", kPlatform + 0x0830},
    Row{"ISO-2022-CN-EXT", kPlatform + 0x0831},
    Row{"ISO-2022-KR", kPlatform + 0x0840},
    Row{"GB2312", kPlatform + 0x0930},
    Row{"EUC-TW", kPlatform + 0x0931},
    Row{"EUC-KR", kPlatform + 0x0940},
    Row{"KOI8-R", kPlatform + 0x0a02},
    Row{"Big5", kPlatform + 0x0a03},
    Row{"HZ-GB-2312", kPlatform + 0x0a05},
    Row{"Big5-HKSCS", kPlatform + 0x0a06},
    Row{"KOI8-U", kPlatform + 0x0a08},
    Row{"IMAP-mailbox-name", kPlatform + 0x0a10},
    Row{"IBM037", kPlatform + 0x0c02},
    Row{"SCSU", kRegistered + 1011},
    Row{"CESU-8", kRegistered + 1016},
    Row{"BOCU-1", kRegistered + 1020},
    Row{"TIS-620", kRegistered + 2259},
    Row{"gsm-03.38-2009", kOther + 0x01},
    Row{"x11-compound-text", kOther + 0x02},
    Row{"LMBCS-1", kOther + 0x03},
    Row{"ebcdic-xml-us", kOther + 0x04},
    Row{"ISO_2022,locale=ja,version=3", kOther + 0x05},
    Row{"ISO_2022,locale=ja,version=4", kOther + 0x06},
    Row{"ISO_2022,locale=ko,version=1", kOther + 0x07},
    Row{"ISO_2022,locale=zh,version=2", kOther + 0x08},
    Row{"ISCII,version=0", kOther + 0x10},
    Row{"ISCII,version=1", kOther + 0x11},
    Row{"ISCII,version=2", kOther + 0x12},
    Row{"ISCII,version=3", kOther + 0x13},
    Row{"ISCII,version=4", kOther + 0x14},
    Row{"ISCII,version=5", kOther + 0x15},
    Row{"ISCII,version=6", kOther + 0x16},
    Row{"ISCII,version=7", kOther + 0x17},
    Row{"ISCII,version=8", kOther + 0x18},
};

using Converter = std::unique_ptr<UConverter, decltype([](UConverter* converter) { ucnv_close(converter); })>;

[[nodiscard]] Error conversionError(std::string reason) {
  Error error = Error::make(TarnLumoONOXMLErrorDomain, 0);
  error.failureReason = std::move(reason);
  return error;
}

/// ICU's own name of the converter that it finds as `name`; empty for an unknown one.
[[nodiscard]] std::string canonicalName(const std::string& name) {
  UErrorCode status = U_ZERO_ERROR;
  const char* const canonical = ucnv_getAlias(name.c_str(), 0, &status);
  return U_FAILURE(status) || canonical == nullptr ? std::string() : canonical;
}

[[nodiscard]] const std::map<std::string, std::uint64_t>& codesByConverter() {
  static const auto& shared = *[] {
    auto* codes = new std::map<std::string, std::uint64_t>;  // never destroyed: used until the process ends
    for (const Row& row : kRows) codes->emplace(canonicalName(row.name), row.code);
    codes->erase("");
    return codes;
  }();
  return shared;
}

/// The code of a converter such as "ibm-1047_P100-1995" or "ibm-1047_P100-1995,swaplfnl".
[[nodiscard]] std::uint64_t codeOfCodePage(std::string_view converter) {
  constexpr std::string_view kPrefix = "ibm-";
  if (!converter.starts_with(kPrefix)) return 0;
  std::uint64_t page = 0;
  converter.remove_prefix(kPrefix.size());
  std::from_chars(converter.data(), converter.data() + converter.size(), page);
  return (converter.ends_with(",swaplfnl") ? kSwappedCodePage : kCodePage) + page;
}

/// A name that ICU accepts for the converter of a code; empty for an unknown one.
[[nodiscard]] std::string converterName(std::uint64_t code) {
  for (const Row& row : kRows) {
    if (row.code == code) return row.name;
  }
  if (code >= kRegistered) return {};
  if (code >= kSwappedCodePage) return "ibm-" + std::to_string(code - kSwappedCodePage) + "-s390";
  return code >= kCodePage ? "ibm-" + std::to_string(code - kCodePage) : std::string();
}

}  // namespace

Encoding encodingNamed(std::string_view name) {
  for (const Row& row : kRows) {
    if (equalsIgnoringASCIICase(row.name, name)) return static_cast<Encoding>(row.code);
  }
  const std::string converter = canonicalName(std::string(name));
  const auto known = codesByConverter().find(converter);
  return static_cast<Encoding>(known == codesByConverter().end() ? codeOfCodePage(converter) : known->second);
}

Result<std::string> bytesOfText(std::string_view text, Encoding encoding) {
  if (encoding == Encoding::UTF8) return std::string(text);
  const std::string name = converterName(static_cast<std::uint64_t>(encoding));
  if (name.empty()) return conversionError("The text's encoding is unknown");
  if (text.size() > std::numeric_limits<std::int32_t>::max() / 16)
    return conversionError("The text is too long to be converted");

  UErrorCode status = U_ZERO_ERROR;
  const Converter converter(ucnv_open(name.c_str(), &status));
  if (U_FAILURE(status)) return conversionError("The text's encoding is not supported");
  ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  std::u16string characters(text.size(), u'\0');
  std::int32_t length = 0;
  u_strFromUTF8(characters.data(), static_cast<std::int32_t>(characters.size()), &length, text.data(),
                static_cast<std::int32_t>(text.size()), &status);
  std::string bytes(
      static_cast<std::size_t>(UCNV_GET_MAX_BYTES_FOR_STRING(length, ucnv_getMaxCharSize(converter.get()))),
      '\0');
  const std::int32_t written =
      ucnv_fromUChars(converter.get(), bytes.data(), static_cast<std::int32_t>(bytes.size()),
                      characters.data(), length, &status);
  if (U_FAILURE(status)) return conversionError("The text cannot be written as " + name);
  bytes.resize(static_cast<std::size_t>(written));
  return bytes;
}

}  // namespace tarn
