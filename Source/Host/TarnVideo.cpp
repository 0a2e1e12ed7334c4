#include "Host/TarnVideo.h"

#include <utility>

TarnVideo::TarnVideo(TarnMutableVideo fields) : fields_(std::move(fields)) {
  if (!fields_.cuePoints) fields_.cuePoints = TarnCuePointCollection::collectionWithArray({});
}

std::shared_ptr<const TarnVideo> TarnVideo::update(
    const std::function<void(TarnMutableVideo&)>& change) const {
  TarnMutableVideo copy = fields_;
  change(copy);
  return std::make_shared<const TarnVideo>(std::move(copy));
}
