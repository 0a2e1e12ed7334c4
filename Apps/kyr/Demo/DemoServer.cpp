#include "Demo/DemoServer.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "Demo/DemoDocument.h"
#include "Demo/DemoStream.h"
#include "Terminal/Report.h"

namespace tarn::cli {
namespace {

constexpr const char* kHost = "127.0.0.1";

const DemoCut* findCut(std::string_view name) {
  const auto found = std::find_if(demoCuts().begin(), demoCuts().end(),
                                  [name](const DemoCut& cut) { return cut.name == name; });
  return found == demoCuts().end() ? nullptr : &*found;
}

std::optional<std::string> readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

/// Which port a socket of the loopback interface was bound or accepted on; absent for anything else.
std::optional<int> localPort(int descriptor) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) return std::nullopt;
  if (address.sin_family != AF_INET) return std::nullopt;
  return ntohs(address.sin_port);
}

/// Closes the connections of this process's server. It keeps idle connections for a long time, because a
/// beacon that is sent while the server closes its connection is lost.
void closeConnections(int port) {
  constexpr int kDescriptors = 4096;
  for (int descriptor = 3; descriptor < kDescriptors; ++descriptor) {
    if (localPort(descriptor) == port) ::shutdown(descriptor, SHUT_RDWR);
  }
}

/// 0xRRGGBB, as in the pictures of the ad.
std::uint32_t brandColour(std::string_view adId) {
  for (const auto& section : demoSections(demoCuts().front())) {
    if (section.adId == adId) return section.picture.colour;
  }
  return 0x1b2631;
}

}  // namespace

/// The server's responses. The handlers run on the server's threads and share only objects with their own
/// lock.
class DemoServer::Routes {
 public:
  explicit Routes(std::filesystem::path segments) : segments_(std::move(segments)) {
    server_.new_task_queue = [] { return new httplib::ThreadPool(64); };
    server_.set_keep_alive_max_count(1'000'000);
    server_.set_keep_alive_timeout(120);
    // Not with the option to share a port, which would hide that the port is in use.
    server_.set_socket_options([](socket_t socket) {
      const int yes = 1;
      setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    addDocuments();
    addStream();
    addBeacons();
    addPages();
  }
  Routes(const Routes&) = delete;
  Routes& operator=(const Routes&) = delete;

  ~Routes() {
    if (!thread_.joinable()) return;
    server_.stop();
    closeConnections(port_);
    thread_.join();
  }

  Result<void> listen(int port) {
    port_ = port == 0 ? server_.bind_to_any_port(kHost) : server_.bind_to_port(kHost, port) ? port : -1;
    if (port_ < 0) {
      return Error::make("kyr.serve", errno,
                         fmt::format("Port {} cannot be listened on ({}); --port 0 picks a free one", port,
                                     std::generic_category().message(errno)));
    }
    baseURL_ = fmt::format("http://{}:{}", kHost, port_);
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    while (!server_.is_running()) std::this_thread::yield();  // it cannot be stopped before
    return {};
  }

  [[nodiscard]] const std::string& baseURL() const { return baseURL_; }

 private:
  using Request = httplib::Request;
  using Response = httplib::Response;

  void addDocuments() {
    server_.Get(R"(/vmap/([a-z-]+)\.xml)", [this](const Request& request, Response& response) {
      const std::string name = request.matches[1];
      if (auto text = document(name)) return response.set_content(*text, "application/xml");
      response.status = 404;
    });
  }

  /// A cut's document, or one of those with a fault.
  [[nodiscard]] std::optional<std::string> document(const std::string& name) const {
    if (const DemoCut* cut = findCut(name))
      return demoDocument(*cut, baseURL_, fmt::format("{}/stream/{}.m3u8", baseURL_, name));
    const DemoCut& demo = demoCuts().front();
    if (name == "missing-stream") return demoDocument(demo, baseURL_, baseURL_ + "/stream/missing.m3u8");
    if (name == "not-a-stream") return demoDocument(demo, baseURL_, baseURL_ + "/landing/page");
    if (name != "bad-offset") return std::nullopt;
    std::string text = demoDocument(demo, baseURL_, baseURL_ + "/stream/demo.m3u8");
    constexpr std::string_view kGood = "timeOffset=\"start\"";
    return text.replace(text.find(kGood), kGood.size(), "timeOffset=\"10%\"");
  }

  void addStream() {
    server_.Get(R"(/stream/([a-z-]+)\.m3u8)", [](const Request& request, Response& response) {
      const std::string name = request.matches[1];
      if (const DemoCut* cut = findCut(name))
        return response.set_content(demoPlaylist(*cut), "application/vnd.apple.mpegurl");
      response.status = 404;
    });
    server_.Get(R"(/stream/(segment\d{3}\.ts))", [this](const Request& request, Response& response) {
      const std::string name = request.matches[1];
      if (auto bytes = readFile(segments_ / name)) return response.set_content(*bytes, "video/mp2t");
      response.status = 404;
    });
  }

  void addBeacons() {
    server_.Get("/beacon/.*", [this](const Request& request, Response& response) {
      beacons_.receive(request.target, baseURL_ + request.target);
      response.status = 204;
    });
    server_.Get("/beacons", [this](const Request&, Response& response) {
      response.set_content(beacons_.json(), "application/json");
    });
    server_.Delete("/beacons", [this](const Request&, Response& response) {
      beacons_.clear();
      response.status = 204;
    });
  }

  void addPages() {
    server_.Get(R"(/landing/([a-z-]+))", [](const Request& request, Response& response) {
      response.set_content(
          fmt::format("<!DOCTYPE html><title>{0}</title><h1>{0}</h1><p>Where the ad's click leads.</p>\n",
                      request.matches[1].str()),
          "text/html; charset=utf-8");
    });
    server_.Get(R"(/banner/([a-z-]+)\.svg)", [](const Request& request, Response& response) {
      const std::string adId = request.matches[1];
      response.set_content(
          fmt::format(
              "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"300\" height=\"60\">"
              "<rect width=\"300\" height=\"60\" fill=\"#{:06x}\"/><text x=\"150\" y=\"37\" fill=\"#fff\" "
              "font-family=\"sans-serif\" font-size=\"20\" text-anchor=\"middle\">{}</text></svg>\n",
              brandColour(adId), adId),
          "image/svg+xml");
    });
  }

  const std::filesystem::path segments_;
  BeaconLog beacons_;
  httplib::Server server_;
  int port_ = 0;
  std::string baseURL_;
  std::thread thread_;
};

Result<std::unique_ptr<DemoServer>> DemoServer::listen(int port, std::filesystem::path segments) {
  auto routes = std::make_unique<Routes>(std::move(segments));
  if (auto listening = routes->listen(port); !listening) return listening.error();
  return std::unique_ptr<DemoServer>(new DemoServer(std::move(routes)));
}

DemoServer::DemoServer(std::unique_ptr<Routes> routes) : routes_(std::move(routes)) {}

DemoServer::~DemoServer() = default;

const std::string& DemoServer::baseURL() const {
  return routes_->baseURL();
}

}  // namespace tarn::cli
