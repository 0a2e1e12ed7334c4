#include "Support/StreamServer.h"

#include <httplib.h>

#include <condition_variable>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "Support/TestStream.h"

namespace tarn::test {
namespace {

std::optional<std::string> readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace

struct StreamServer::State {
  /// Made before any player loads: the encoder's FFmpeg plugin takes over FFmpeg's log, which mpv reads.
  const std::filesystem::path& folder = testStreamFolder();
  httplib::Server server;
  int port = 0;
  std::thread thread;
  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  bool closed = false;
  std::map<std::string, Answer> answers;
  std::map<std::string, int> requests;

  void answer(const httplib::Request& request, httplib::Response& response) {
    std::unique_lock lock(mutex);
    ++requests[request.path];
    const auto hangs = [&] { return answers[request.path].fault == Fault::hang; };
    changed.wait(lock, [&] { return closed || !hangs(); });
    if (closed) return;
    Answer answer = answers[request.path];
    if (answer.once) answers.erase(request.path);
    lock.unlock();
    if (!answer.body) {
      answer.body = readFile(folder / request.path.substr(1));
      answer.type = request.path.ends_with(".m3u8") ? "application/vnd.apple.mpegurl" : "video/mp2t";
    }
    if (answer.fault == Fault::refuse || !answer.body) {
      response.status = answer.body ? answer.status : 404;
      return;
    }
    if (answer.fault != Fault::breakOff) return response.set_content(*answer.body, answer.type);
    const std::size_t size = answer.body->size();
    response.set_content_provider(
        size, answer.type,
        [body = std::move(*answer.body)](std::size_t offset, std::size_t, httplib::DataSink& sink) {
          if (offset > 0) return false;
          sink.write(body.data(), body.size() / 2);
          return true;
        });
  }
};

StreamServer::StreamServer() : state_(std::make_unique<State>()) {
  state_->server.new_task_queue = [] { return new httplib::ThreadPool(16); };
  state_->server.set_keep_alive_timeout(1);
  state_->server.Get(".*", [state = state_.get()](const auto& request, auto& response) {
    state->answer(request, response);
  });
  state_->port = state_->server.bind_to_any_port("127.0.0.1");
  state_->thread = std::thread([state = state_.get()] { state->server.listen_after_bind(); });
  while (!state_->server.is_running()) std::this_thread::yield();  // it cannot be stopped before
}

StreamServer::~StreamServer() {
  {
    const std::lock_guard lock(state_->mutex);
    state_->closed = true;
  }
  state_->changed.notify_all();
  state_->server.stop();
  state_->thread.join();
}

URL StreamServer::url(const std::string& path) const {
  return *URL::fromString("http://127.0.0.1:" + std::to_string(state_->port) + path);
}

void StreamServer::give(const std::string& path, Answer answer) {
  const std::lock_guard lock(state_->mutex);
  state_->answers[path] = std::move(answer);
  state_->changed.notify_all();
}

int StreamServer::requests(const std::string& path) const {
  const std::lock_guard lock(state_->mutex);
  return state_->requests[path];
}

}  // namespace tarn::test
