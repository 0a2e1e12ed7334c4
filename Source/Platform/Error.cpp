#include "Platform/Error.h"

#include <utility>

namespace tarn {
namespace {

bool haveSameFields(const Error& a, const Error& b) {
  return a.domain == b.domain && a.code == b.code && a.description == b.description &&
         a.failureReason == b.failureReason && a.recoverySuggestion == b.recoverySuggestion;
}

void appendFolded(std::string& line, const std::string& text) {
  bool inBreak = false;
  for (const char c : text) {
    const bool isBreak = c == '\n' || c == '\r';
    if (!isBreak) line += c;
    if (isBreak && !inBreak) line += ' ';
    inBreak = isBreak;
  }
}

void appendTexts(std::string& line, const Error& error) {
  if (!error.description && !error.failureReason) line += error.domain + " " + std::to_string(error.code);
  if (error.description) appendFolded(line, *error.description);
  if (error.description && error.failureReason) line += ": ";
  if (error.failureReason) appendFolded(line, *error.failureReason);
  if (!error.recoverySuggestion) return;
  line += " (";
  appendFolded(line, *error.recoverySuggestion);
  line += ")";
}

}  // namespace

bool operator==(const Error& a, const Error& b) {
  const Error* left = &a;
  const Error* right = &b;
  while (left && right) {
    if (left == right) return true;
    if (!haveSameFields(*left, *right)) return false;
    left = left->underlying.get();
    right = right->underlying.get();
  }
  return left == right;
}

Error withUnderlying(Error error, Error cause) {
  error.underlying = std::make_shared<const Error>(std::move(cause));
  return error;
}

std::string chainDescription(const Error& error) {
  std::string line;
  for (const Error* link = &error; link; link = link->underlying.get()) {
    if (link != &error) line += ": ";
    appendTexts(line, *link);
  }
  return line;
}

}  // namespace tarn
