#pragma once

/// How the application puts pictures on its screen. Opaque to the toolkit: a playback controller keeps it,
/// for whoever draws to ask back for.
class TarnViewStrategy {
 public:
  TarnViewStrategy() = default;
  TarnViewStrategy(const TarnViewStrategy&) = delete;
  TarnViewStrategy& operator=(const TarnViewStrategy&) = delete;
  virtual ~TarnViewStrategy() = default;
};
