#include "Support/TimelineBuilder.h"

#include <sstream>
#include <utility>

#include "Support/TimePrinter.h"

namespace tarn::test {
namespace {

/// Reads a drawing from left to right.
class DrawingReader {
 public:
  explicit DrawingReader(const TimelineOptions& options) : options_(options) {}

  void draw(std::string_view drawing) {
    for (std::size_t i = 0; i < drawing.size();) {
      const char cell = drawing[i];
      std::size_t length = 1;
      while (i + length < drawing.size() && drawing[i + length] == cell) ++length;
      drawRun(cell, length);
      i += length;
    }
    endSequence();
  }

  [[nodiscard]] std::shared_ptr<const TarnLumoTimeline> finish() {
    TarnLumoTimeline::ContentImpressions impressions;
    for (const double time : options_.contentImpressions) {
      const auto path = (std::ostringstream() << "impression-" << time).str();
      impressions.push_back(std::make_shared<const TarnLumoContentImpression>(beacon(path), seconds(time)));
    }
    return TarnLumoTimeline::make(tarn::URL::fromString("https://cdn.example/stream.m3u8"), at(contentCells_),
                                  at(cells_), std::move(sequences_), std::move(impressions));
  }

 private:
  void drawRun(char cell, std::size_t length) {
    if (cell == '|') return endSequence();
    if (cell == '.') {
      endSequence();
      contentCells_ += length;
    } else if (cell != '-') {
      drawAd(cell, length);
    }
    cells_ += length;
  }

  void drawAd(char letter, std::size_t length) {
    TarnLumoAdBuilder ad;
    ad.adId = std::string(1, letter);
    ad.beginTime = at(cells_);
    ad.duration = at(length);
    ad.logicalOffset = at(contentCells_);
    if (options_.editAd) options_.editAd(letter, ad);
    ads_.push_back(ad.buildAd());
  }

  void endSequence() {
    if (ads_.empty()) return;
    sequences_.push_back(std::make_shared<const TarnLumoAdSequence>(std::exchange(ads_, {})));
  }

  [[nodiscard]] CMTime at(std::size_t cells) const {
    return seconds(static_cast<double>(cells) * options_.secondsPerCell);
  }

  const TimelineOptions& options_;
  std::size_t cells_ = 0;
  std::size_t contentCells_ = 0;
  TarnLumoAdSequence::Ads ads_;
  TarnLumoTimeline::AdSequences sequences_;
};

}  // namespace

std::shared_ptr<const TarnLumoTimeline> drawTimeline(std::string_view drawing,
                                                     const TimelineOptions& options) {
  DrawingReader reader(options);
  reader.draw(drawing);
  return reader.finish();
}

std::shared_ptr<const TarnLumoAd> adNamed(const TarnLumoTimeline& timeline, char letter) {
  for (const auto& sequence : timeline.adSequences()) {
    for (const auto& ad : sequence->ads()) {
      if (ad->adId() == std::string(1, letter)) return ad;
    }
  }
  return nullptr;
}

void RecordingSink::send(const URL& url) {
  const std::string& text = url.absoluteString();
  sent_.push_back(text.substr(text.rfind('/') + 1));
  afterSend(std::string(sent_.back()));  // a copy: the call may clear or destroy the sink
}

std::vector<std::string> RecordingSink::take() {
  return std::exchange(sent_, {});
}

tarn::URL beacon(std::string_view path) {
  return *tarn::URL::fromString("https://t.example/" + std::string(path));
}

}  // namespace tarn::test
