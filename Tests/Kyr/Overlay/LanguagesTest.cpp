#include <gmock/gmock.h>
#include <libintl.h>

#include <clocale>

#include "Overlay/TarnKyrAdComponentView.h"
#include "OverlayFixture.h"

namespace tarn::test {
namespace {

/// The catalogues that were built, each in turn.
class LanguagesTest : public OverlayWindowTest {
 protected:
  LanguagesTest() {
    setlocale(LC_ALL, "C.UTF-8");
    bindtextdomain("kyr", KYR_LANGUAGES);
    bind_textdomain_codeset("kyr", "UTF-8");
  }
  ~LanguagesTest() override {
    unsetenv("LANGUAGE");
    textdomain("messages");
    setlocale(LC_ALL, "C");
  }
  static void use(const char* language) {
    setenv("LANGUAGE", language, 1);
    textdomain("kyr");
  }
};

TEST_F(LanguagesTest, EachCatalogueHasAllTexts) {
  const auto texts = [] {
    std::vector<QString> all{TarnKyrAdComponentView::learnMoreButtonTitle()};
    for (const int count : {0, 1, 17}) {
      all.push_back(TarnKyrAdComponentView::skipButtonTitleWithProgress(count));
      all.push_back(TarnKyrAdComponentView::formatAdRemainTime(CMTimeMake(count, 1)));
    }
    return all;
  };
  use("none");
  const auto own = texts();
  EXPECT_EQ(own[0].toStdString(), "Learn More") << "without a catalogue the text must be the key";
  for (const char* const language : {"ar", "de", "es", "fr", "ja"}) {
    use(language);
    const auto translated = texts();
    for (std::size_t i = 0; i < own.size(); ++i) {
      SCOPED_TRACE(language + own[i].toStdString());
      EXPECT_NE(translated[i], own[i]);
      EXPECT_EQ(translated[i].count('\n'), own[i].count('\n'));
      EXPECT_EQ(translated[i].contains("17"), own[i].contains("17"));
      EXPECT_FALSE(translated[i].contains('%'));
    }
  }
}

TEST_F(LanguagesTest, MirrorsTheOverlayForAScriptFromRightToLeft) {
  use("ar");
  EXPECT_TRUE(TarnKyrAdComponentView::isMirrored());
  use("ja");
  EXPECT_FALSE(TarnKyrAdComponentView::isMirrored());
}

}  // namespace
}  // namespace tarn::test
