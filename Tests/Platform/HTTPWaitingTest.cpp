#include <gmock/gmock.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <sstream>

#include "Platform/Internal/ConnectionPacing.h"
#include "Platform/Internal/FileDescriptor.h"
#include "Platform/Internal/HTTPBacklog.h"
#include "Platform/Internal/SocketWatches.h"

using namespace std::chrono_literals;
using namespace tarn;
using namespace testing;
using Time = ConnectionPacing::Time;

namespace {

HTTPSubmission submission(std::uint64_t number, std::size_t size = 100) {
  std::string text = "http://h/";
  text.resize(size, 'x');
  return {.request = {*URL::fromString(text), {}}, .number = number, .deadline = Time(number * 1s)};
}

template <class Take>
std::vector<std::uint64_t> numbersOf(Take take) {
  std::vector<std::uint64_t> numbers;
  while (auto taken = take()) numbers.push_back(taken->number);
  return numbers;
}

}  // namespace

// Each word is an event at a time (a request starts, connects, fails to connect, is cancelled while it
// connects, or ends and its connection stays or closes) and the time at which the next request may start.
TEST(HTTPWaitingTest, StartsARequestAfterThePreviousConnectionTheDelayOrThePause) {
  const HTTPConfiguration configuration{
      .connectionAttemptDelay = 3s, .failedConnectionPause = 1s, .maximumConnectionsPerHost = 6};
  ConnectionPacing pacing(configuration);
  const auto nextStart = [&]() -> std::string {
    const auto next = pacing.nextStart();
    if (!next) return "never";
    return *next == Time::min() ? "now" : std::to_string(next->time_since_epoch() / 1s);
  };
  EXPECT_EQ(nextStart(), "now");
  std::istringstream words(
      "start@10=13 connect@0=now start@20=23 start@23=26 start@26=29 start@29=never "  // four unfinished
                                                                                       // attempts
      "stay@0=32 start@32=never connect@0=never close@0=never cancel@0=now "           // an idle connection
      "connect@0=now connect@0=now connect@0=now start@40=43 connect@0=now "           // four connections
      "start@41=44 connect@0=now start@42=never connect@0=never "                      // all six
      "close@0=now close@0=now close@0=now close@0=now close@0=now close@0=now "
      "start@50=53 fail@50=51 start@51=54 fail@51=53 start@60=63 fail@60=64 start@64=68 fail@64=72 "
      "start@80=88 fail@80=96 start@96=112 fail@96=112 "           // the pause grows
      "start@120=136 connect@0=now start@120=123 fail@120=121 ");  // and ends
  char at = 0;
  int seconds = 0;
  for (std::string event, next;
       std::getline(words, event, '@') && words >> seconds >> at >> next >> std::ws;) {
    const Time now{std::chrono::seconds(seconds)};
    if (event == "start") pacing.started(now);
    if (event == "connect") pacing.connected();
    if (event == "fail") pacing.failedToConnect(now);
    if (event == "cancel") pacing.abandoned();
    if (event == "stay" || event == "close") pacing.ended(event == "stay");
    EXPECT_EQ(nextStart(), next) << event << " at " << seconds;
  }
  EXPECT_TRUE(words.eof());
  EXPECT_EQ(pacing.active(), 1);
}

TEST(HTTPWaitingTest, DropsTheOldestBeyondTheLimitsOfAnOriginAndOfAll) {
  const HTTPConfiguration configuration{.maximumWaitingRequests = 3, .maximumWaitingBytes = 1'000};
  HTTPBacklog backlog(configuration);
  std::array<HTTPBacklog::OriginQueue, 6> queues;
  const auto excess = [&](auto& queue) { return numbersOf([&] { return backlog.takeExcess(queue); }); };
  for (const std::uint64_t number : {1U, 2U, 3U, 4U}) {
    EXPECT_THAT(excess(queues[0]), IsEmpty());
    backlog.push(queues[0], submission(number));
  }
  EXPECT_THAT(excess(queues[0]), ElementsAre(1));
  for (const std::uint64_t number : {5U, 6U}) backlog.push(queues[1], submission(number, 500));
  EXPECT_THAT(excess(queues[1]), IsEmpty());
  backlog.push(queues[1], submission(7));
  EXPECT_THAT(excess(queues[1]), ElementsAre(5));

  EXPECT_EQ(backlog.take(queues[0], 6), std::nullopt);
  EXPECT_EQ(backlog.take(queues[0], 3)->number, 3U);
  for (std::uint64_t number = 8; number < 19; ++number)
    backlog.push(queues[number % 4 + 2], submission(number));
  EXPECT_THAT(excess(queues[5]), IsEmpty()) << "all 15 must fit";
  backlog.push(queues[5], submission(19));
  EXPECT_THAT(excess(queues[5]), ElementsAre(2));

  EXPECT_EQ(backlog.firstDeadline(), Time(4s));
  const auto expired = [&](Time now) { return numbersOf([&] { return backlog.takeExpired(now); }); };
  EXPECT_THAT(expired(Time(4s) - 1ns), IsEmpty());
  EXPECT_THAT(expired(Time(7s)), ElementsAre(4, 6, 7));
  EXPECT_TRUE(queues[1].empty());
  EXPECT_EQ(backlog.pop(queues[5]).number, 11U);
  EXPECT_THAT(numbersOf([&] { return backlog.takeAny(); }), SizeIs(11));
  EXPECT_EQ(backlog.firstDeadline(), std::nullopt);
}

TEST(HTTPWaitingTest, ReportsAnUnwantedSocketEventOnce) {
  const FileDescriptor epoll(epoll_create1(EPOLL_CLOEXEC));
  std::array<int, 2> pair{};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
  const FileDescriptor connection(pair[0]);
  SocketWatches watches(epoll.get());
  const auto events = [&] {
    epoll_event found{};
    return epoll_wait(epoll.get(), &found, 1, 0);
  };
  watches.opened(pair[0]);
  watches.want(pair[0], EPOLLOUT);
  EXPECT_EQ(events(), 1);
  EXPECT_TRUE(watches.isWanted(pair[0]));
  watches.want(pair[0], EPOLLIN);
  EXPECT_EQ(events(), 0);
  watches.drop(pair[0]);
  close(pair[1]);
  EXPECT_EQ(events(), 1) << "the socket must stay registered";
  EXPECT_FALSE(watches.isWanted(pair[0]));
  EXPECT_EQ(events(), 0) << "otherwise the loop would spin";
  watches.want(pair[0], EPOLLIN);
  EXPECT_EQ(events(), 1);
  watches.closing(pair[0]);
  EXPECT_EQ(events(), 0);
  watches.want(pair[0], EPOLLIN);  // libcurl's own socket, not a connection's
  EXPECT_TRUE(watches.isWanted(pair[0]));
  EXPECT_EQ(events(), 1);
  watches.drop(pair[0]);
  EXPECT_EQ(events(), 0);
}
