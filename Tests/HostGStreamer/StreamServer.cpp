#include "StreamServer.h"

#include <httplib.h>

#include <condition_variable>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "TestStream.h"

namespace tarn::test {
namespace {

enum class Fault { none, hang, refuse, breakOff };

struct Answer {
  Fault fault = Fault::none;
  int status = 200;
  std::optional<std::string> body;
  std::string type;
  bool once = false;
};

std::optional<std::string> readFile(const std::string& path) {
  std::ifstream file(testStreamFolder() / path.substr(1), std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

std::string typeOf(const std::string& path) {
  return path.ends_with(".m3u8") ? "application/vnd.apple.mpegurl" : "video/mp2t";
}

}  // namespace

struct StreamServer::State {
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
    const auto hangs = [&] {
      const auto found = answers.find(request.path);
      return found != answers.end() && found->second.fault == Fault::hang;
    };
    changed.wait(lock, [&] { return closed || !hangs(); });
    if (closed) return;
    const auto found = answers.find(request.path);
    Answer answer = found == answers.end() ? Answer{} : found->second;
    if (answer.once) answers.erase(found);
    lock.unlock();
    if (answer.fault == Fault::refuse) {
      response.status = answer.status;
      return;
    }
    if (!answer.body) {
      answer.body = readFile(request.path);
      answer.type = typeOf(request.path);
    }
    if (!answer.body) {
      response.status = 404;
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

void StreamServer::serve(const std::string& path, std::string body, std::string type) {
  const std::lock_guard lock(state_->mutex);
  state_->answers[path] = {Fault::none, 200, std::move(body), std::move(type), false};
  state_->changed.notify_all();
}

void StreamServer::hang(const std::string& path) {
  const std::lock_guard lock(state_->mutex);
  state_->answers[path].fault = Fault::hang;
}

void StreamServer::refuse(const std::string& path, int status) {
  const std::lock_guard lock(state_->mutex);
  state_->answers[path] = {Fault::refuse, status, std::nullopt, {}, false};
  state_->changed.notify_all();
}

void StreamServer::breakOff(const std::string& path) {
  const std::lock_guard lock(state_->mutex);
  state_->answers[path].fault = Fault::breakOff;
  state_->changed.notify_all();
}

void StreamServer::heal(const std::string& path) {
  const std::lock_guard lock(state_->mutex);
  state_->answers.erase(path);
  state_->changed.notify_all();
}

void StreamServer::healAfterOne(const std::string& path) {
  const std::lock_guard lock(state_->mutex);
  state_->answers[path].once = true;
}

int StreamServer::requests(const std::string& path) const {
  const std::lock_guard lock(state_->mutex);
  const auto found = state_->requests.find(path);
  return found == state_->requests.end() ? 0 : found->second;
}

}  // namespace tarn::test
