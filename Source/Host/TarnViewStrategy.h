#pragma once

/// The application's way of displaying pictures. Opaque to the toolkit: a playback controller only keeps it
/// and returns it to the code that draws.
class TarnViewStrategy {
 public:
  TarnViewStrategy() = default;
  TarnViewStrategy(const TarnViewStrategy&) = delete;
  TarnViewStrategy& operator=(const TarnViewStrategy&) = delete;
  virtual ~TarnViewStrategy() = default;
};
