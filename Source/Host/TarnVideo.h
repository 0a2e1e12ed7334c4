#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Host/TarnCuePoint.h"
#include "Host/TarnSource.h"
#include "Platform/Dictionary.h"

/// The fields of a video while it is being put together. The pointers in `sources` are not null; `cuePoints`
/// may be, for none.
struct TarnMutableVideo {
  std::optional<std::string> identifier = {};
  std::optional<std::string> title = {};
  std::vector<std::shared_ptr<const TarnSource>> sources = {};
  std::shared_ptr<const TarnCuePointCollection> cuePoints = nullptr;
  tarn::Dictionary properties = {};
};

/// Something to play: where it can be had from and what is known of it. Immutable, any thread; two videos are
/// the same when they are the same object.
class TarnVideo {
 public:
  explicit TarnVideo(TarnMutableVideo fields);

  [[nodiscard]] const std::optional<std::string>& identifier() const { return fields_.identifier; }
  [[nodiscard]] const std::optional<std::string>& title() const { return fields_.title; }
  /// In the catalogue's order, which selection policies read them in.
  [[nodiscard]] const std::vector<std::shared_ptr<const TarnSource>>& sources() const {
    return fields_.sources;
  }
  /// Never null.
  [[nodiscard]] const std::shared_ptr<const TarnCuePointCollection>& cuePoints() const {
    return fields_.cuePoints;
  }
  [[nodiscard]] const tarn::Dictionary& properties() const { return fields_.properties; }

  /// A copy in which `change` has changed what it wanted; this video stays as it is. `change` is called
  /// once, before the return.
  [[nodiscard]] std::shared_ptr<const TarnVideo> update(
      const std::function<void(TarnMutableVideo& copy)>& change) const;

 private:
  TarnMutableVideo fields_;
};
