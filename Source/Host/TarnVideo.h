#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Host/TarnCuePoint.h"
#include "Host/TarnSource.h"
#include "Platform/Dictionary.h"

/// The fields of a video, to construct one. The pointers in `sources` are not null; `cuePoints` is null for
/// none.
struct TarnMutableVideo {
  std::optional<std::string> identifier = {};
  std::optional<std::string> title = {};
  std::vector<std::shared_ptr<const TarnSource>> sources = {};
  std::shared_ptr<const TarnCuePointCollection> cuePoints = nullptr;
  tarn::Dictionary properties = {};
};

/// A video: its sources and its metadata. Immutable, any thread; two videos are
/// the same when they are the same object.
class TarnVideo {
 public:
  explicit TarnVideo(TarnMutableVideo fields);

  [[nodiscard]] const std::optional<std::string>& identifier() const { return fields_.identifier; }
  [[nodiscard]] const std::optional<std::string>& title() const { return fields_.title; }
  /// In the catalogue's order, which selection policies follow.
  [[nodiscard]] const std::vector<std::shared_ptr<const TarnSource>>& sources() const {
    return fields_.sources;
  }
  /// Never null.
  [[nodiscard]] const std::shared_ptr<const TarnCuePointCollection>& cuePoints() const {
    return fields_.cuePoints;
  }
  [[nodiscard]] const tarn::Dictionary& properties() const { return fields_.properties; }

  /// A copy changed by `change`, which is called once, before the return. This video does not change.
  [[nodiscard]] std::shared_ptr<const TarnVideo> update(
      const std::function<void(TarnMutableVideo& copy)>& change) const;

 private:
  TarnMutableVideo fields_;
};
