#include "Document/DocumentServer.h"

#include <fmt/format.h>
#include <httplib.h>

#include <cerrno>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace tarn::cli {
namespace {

constexpr const char* kHost = "127.0.0.1";

Error cannotListen(int code) {
  return Error::make("kyr.documentServer", code,
                     fmt::format("The document cannot be handed to the session: no port of {} is free ({})",
                                 kHost, std::generic_category().message(code)));
}

}  // namespace

class DocumentServer::Listener {
 public:
  explicit Listener(std::string bytes) : bytes_(std::move(bytes)) {
    server_.new_task_queue = [] { return new httplib::ThreadPool(1); };
    server_.set_keep_alive_max_count(1);  // an idle connection would hold up the end
    server_.Get("/document", [this](const httplib::Request&, httplib::Response& response) {
      response.set_content(bytes_, "application/octet-stream");  // XML would be compressed, at length
    });
  }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;
  ~Listener() {
    if (!thread_.joinable()) return;
    server_.stop();
    thread_.join();
  }

  Result<void> listen() {
    const int port = server_.bind_to_any_port(kHost);
    if (port < 0) return cannotListen(errno);
    url_ = URL::fromString(fmt::format("http://{}:{}/document", kHost, port));
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    while (!server_.is_running()) std::this_thread::yield();  // it cannot be stopped before
    return {};
  }

  [[nodiscard]] const URL& url() const { return *url_; }

 private:
  const std::string bytes_;
  httplib::Server server_;
  std::optional<URL> url_;
  std::thread thread_;
};

Result<std::unique_ptr<DocumentServer>> DocumentServer::serve(std::string bytes) {
  auto listener = std::make_unique<Listener>(std::move(bytes));
  if (auto listening = listener->listen(); !listening) return listening.error();
  return std::unique_ptr<DocumentServer>(new DocumentServer(std::move(listener)));
}

DocumentServer::DocumentServer(std::unique_ptr<Listener> listener) : listener_(std::move(listener)) {}

DocumentServer::~DocumentServer() = default;

const URL& DocumentServer::url() const {
  return listener_->url();
}

}  // namespace tarn::cli
