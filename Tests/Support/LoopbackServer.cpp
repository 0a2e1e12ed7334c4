#include "Support/LoopbackServer.h"

#include <httplib.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <map>
#include <mutex>
#include <set>
#include <thread>

namespace tarn::test {
namespace {

/// Each held request occupies one of the server's threads.
constexpr std::size_t kThreads = 64;
constexpr std::chrono::seconds kPatience{20};

/// Loopback connections must not use the machine's proxy. Set before any thread runs.
[[maybe_unused]] const int noProxy = setenv("no_proxy", "127.0.0.1,localhost", 1);

using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;
using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

Certificate selfSignedCertificate(EVP_PKEY* key) {
  Certificate certificate(X509_new(), &X509_free);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3'600);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3'600);
  X509_set_pubkey(certificate.get(), key);
  X509_NAME* name = X509_get_subject_name(certificate.get());
  const auto* commonName = reinterpret_cast<const unsigned char*>("127.0.0.1");
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, commonName, -1, -1, 0);
  X509_set_issuer_name(certificate.get(), name);
  X509_sign(certificate.get(), key, EVP_sha256());
  return certificate;
}

std::unique_ptr<httplib::Server> makeServer(LoopbackServer::Transport transport) {
  if (transport == LoopbackServer::Transport::plain) return std::make_unique<httplib::Server>();
  const Key key(EVP_EC_gen("P-256"), &EVP_PKEY_free);
  return std::make_unique<httplib::SSLServer>(selfSignedCertificate(key.get()).get(), key.get());
}

}  // namespace

struct LoopbackServer::State {
  explicit State(Transport transport)
      : scheme(transport == Transport::plain ? "http" : "https"), server(makeServer(transport)) {}

  void receive(const httplib::Request& request, httplib::Response& response) {
    std::unique_lock lock(mutex);
    ReceivedRequest received{request.target, {}};
    for (const auto& [name, value] : request.headers) {
      if (name.find('_') != std::string::npos) continue;  // the server library adds REMOTE_ADDR and others
      std::string lower = name;
      std::transform(lower.begin(), lower.end(), lower.begin(),
                     [](unsigned char c) { return std::tolower(c); });
      received.headers.emplace_back(std::move(lower), value);
    }
    requests.push_back(std::move(received));
    changed.notify_all();
    changed.wait(lock, [&] { return released || held.count(request.path) == 0; });
    const auto found = answers.find(request.path);
    if (found == answers.end()) return;
    const Answer& answer = found->second;
    response.status = answer.status;
    for (const auto& [name, value] : answer.headers) response.headers.emplace(name, value);
    response.set_content(answer.body, answer.contentType);
  }

  const std::string scheme;
  const std::unique_ptr<httplib::Server> server;
  int port = 0;
  std::thread thread;
  std::mutex mutex;  // guards the members below
  std::condition_variable changed;
  std::map<std::string, Answer> answers;
  std::set<std::string> held;
  bool released = false;
  std::vector<ReceivedRequest> requests;
};

std::vector<std::string> ReceivedRequest::values(const std::string& name) const {
  std::vector<std::string> found;
  for (const auto& [field, value] : headers) {
    if (field == name) found.push_back(value);
  }
  return found;
}

LoopbackServer::LoopbackServer(Transport transport) : state_(std::make_unique<State>(transport)) {
  auto& server = *state_->server;
  server.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
  server.set_keep_alive_max_count(1);  // an idle connection would delay the server's end by seconds
  server.set_tcp_nodelay(true);
  server.Get(".*", [state = state_.get()](const httplib::Request& request, httplib::Response& response) {
    state->receive(request, response);
  });
  state_->port = server.bind_to_any_port("127.0.0.1");
  state_->thread = std::thread([&server] { server.listen_after_bind(); });
  while (!server.is_running()) std::this_thread::yield();  // before that, `stop` has no effect
}

LoopbackServer::~LoopbackServer() {
  release();
  state_->server->stop();
  state_->thread.join();
}

URL LoopbackServer::url(const std::string& target) const {
  return *URL::fromString(state_->scheme + "://127.0.0.1:" + std::to_string(state_->port) + target);
}

void LoopbackServer::answer(const std::string& path, Answer answer) {
  const std::lock_guard lock(state_->mutex);
  state_->answers.insert_or_assign(path, std::move(answer));
}

void LoopbackServer::hold(const std::string& path) {
  const std::lock_guard lock(state_->mutex);
  state_->held.insert(path);
}

void LoopbackServer::release() {
  const std::lock_guard lock(state_->mutex);
  state_->released = true;
  state_->changed.notify_all();
}

std::vector<ReceivedRequest> LoopbackServer::requests() const {
  const std::lock_guard lock(state_->mutex);
  return state_->requests;
}

std::vector<std::string> LoopbackServer::targets() const {
  std::vector<std::string> targets;
  for (auto& request : requests()) targets.push_back(std::move(request.target));
  return targets;
}

bool LoopbackServer::waitForRequests(std::size_t count) {
  std::unique_lock lock(state_->mutex);
  return state_->changed.wait_for(lock, kPatience, [&] { return state_->requests.size() >= count; });
}

}  // namespace tarn::test
