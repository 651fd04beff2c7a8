// The viewer's server with clients of every kind.
#include "view/Server.h"

#include <atomic>
#include <csignal>
#include <future>
#include <regex>

#include "PointCloud.h"
#include "Stream.h"
#include "VirtualCamera.h"
#include "vycam/ViewClient.h"
#include "vycam/VycamTest.h"

namespace {

using Json = nlohmann::json;
using std::chrono::seconds;

/// A server with a small Corvid camera, depth and colour, whose frames come as fast as they can.
class ViewServerTest : public testing::Test {
 protected:
  void start(vycam::FrameSize size = {64, 48}, const char* camera = "Corvid") {
    vycam::LiveOptions live;
    live.cameras = {vycam::parseCameraChoice(camera)};
    for (const char* const each : more_) live.cameras.push_back(vycam::parseCameraChoice(each));
    live.size = size;
    live.depth = scene_;
    live.rate = rate_;
    cameras_.emplace(library_, live);
    vycam::ServerOptions options;
    options.clients.clock = [this] { return std::chrono::steady_clock::time_point(seconds(clock_ += perLook_)); };
    server_.emplace(*cameras_, options);
  }

  std::unique_ptr<ViewClient> connect() { return std::make_unique<ViewClient>(server_->port(), server_->token()); }
  /// Sends a request and waits for its answer: "done", or the words of the refusal.
  static std::string ask(ViewClient& client, Json request) {
    static int number = 0;
    request["request"] = ++number;
    client.send(request);
    while (const std::optional<ViewClient::Message> message = client.next()) {
      const Json text = message->isText ? Json::parse(message->bytes) : Json();
      if (text.is_object() && text.value("request", 0) == number) return text.value("text", std::string("done"));
    }
    return "closed: " + client.closeReason();
  }
  std::string get(const std::string& path, const std::string& host) const {
    return answerTo(server_->port(), "GET " + path + " HTTP/1.1\r\nHost: " + host + "\r\n\r\n");
  }
  std::string ownHost() const { return "127.0.0.1:" + std::to_string(server_->port()); }
  std::string page(const std::string& name) const { return get("/" + server_->token() + "/" + name, ownHost()); }

  std::vector<const char*> more_;  // cameras
  unsigned rate_ = 0;              // frames a second; 0 is as fast as they can
  std::optional<vycam::GreyImage> scene_;
  std::atomic<int> clock_{1000};  // seconds
  int perLook_ = 0;               // that pass whenever the server looks at the clock
  const vycam::Library library_{""};
  std::optional<vycam::LiveCameras> cameras_;
  std::optional<vycam::Server> server_;
};

uint32_t number(const std::string& frame, size_t offset) {
  uint32_t value = 0;
  memcpy(&value, &frame.at(offset), sizeof value);
  return value;
}

std::string bodyOf(const std::string& answer) {
  return answer.substr(answer.find("\r\n\r\n") + 4);
}

std::string letters(size_t count) {
  std::string all;
  for (size_t i = 0; i < count; ++i) all += "\u00e4";
  return all;
}

// Messages of a client, and what the server says to each of them. Behind "<! " stands what ends the connection. Of
// later greetings stands in what they differ from the first.
TEST_F(ViewServerTest, WhatIsSaidIsTheKeptTalk) {
  more_ = {"corvid:ir", "Talon:color", "Ostrel:depth"};
  start({64, 48}, "Corvid:depth,ir,color");
  std::istringstream lines(kept("talk.txt"));
  std::string text;
  Json first;
  std::unique_ptr<ViewClient> client = connect();
  for (std::string line; std::getline(lines, line);) {
    if (line[0] != '<') continue;
    text += line + '\n';
    if (line == "< hello") {
      Json hello = connect()->nextText("hello");
      EXPECT_EQ(hello["version"], VYCAM_VERSION);
      hello.erase("version");
      text += (first.is_null() ? hello : Json::diff(first, hello)).dump(1) + '\n';
      if (first.is_null()) first = hello;
      continue;
    }
    client->send(line.substr(line.find(' ') + 1), false);
    if (line[1] == '!') {
      while (client->next()) {
      }
      text += "closed, " + std::to_string(client->closeCode()) + ": " + client->closeReason() + '\n';
      client = connect();
      continue;
    }
    for (const unsigned stream : {0U, 1U}) {  // what comes before their answers comes of the message
      client->send({{"type", "set"}, {"request", 100 + stream}, {"stream", stream}, {"values", {{"end", ""}}}});
      while (const std::optional<ViewClient::Message> message = client->next()) {
        const Json said = message->isText ? Json::parse(message->bytes) : Json{{"type", "stats"}};
        if (said.value("request", 0U) == 100 + stream) break;
        if (said["type"] != "stats" && said["type"] != "hello") text += message->bytes + '\n';
      }
    }
  }
  expectKept("talk.txt", text);
  vysim_reset();
}

TEST_F(ViewServerTest, FiguresTellHowAStreamDoes) {
  scene_ = rampWithHole();
  start({24, 16});
  const auto client = connect();
  client->send({{"type", "watch"}, {"streams", {{"0", {"after"}}, {"1", {"after"}}}}});
  Json of[2];
  while (of[0]["rate"].is_null() || of[1]["rate"].is_null()) {
    const Json stats = client->nextText("stats");
    if (stats["rate"] > 0) of[stats["stream"].get<unsigned>()] = stats;
  }
  for (const Json& stats : of) {
    const Json& times = stats["milliseconds"];
    EXPECT_TRUE(times["camera"] > 0 && times["chain"] > times["library"]) << stats;
    EXPECT_TRUE(stats["failed"] == 0 && stats["lost"] == 0) << stats;
  }
  EXPECT_GT(of[0]["milliseconds"]["filters"]["DisparityTransform"], 0);
  const Json& error = of[0]["error"];
  EXPECT_TRUE(error["pixels"] == 24 * 16 && error["valid"] > 0.3 && error["valid"] < 1) << error;
  EXPECT_TRUE(error["ofScene"] > error["valid"] && error["median"] >= 0 && error["p95"] >= error["median"]) << error;
  EXPECT_TRUE(of[1]["error"].is_null()) << "colours have none";
  const double busy = of[0]["milliseconds"]["camera"].get<double>() + of[0]["milliseconds"]["chain"].get<double>();
  EXPECT_LT(of[0]["rate"].get<double>() * busy, 2000) << "milliseconds a second";

  const Json off = {{"DisparityTransform#255", "0"}};
  EXPECT_EQ(ask(*client, {{"type", "set"}, {"stream", 0}, {"values", off}}), "done");
  Json stats;
  for (int i = 0; i < 20 && (stats.is_null() || stats["stream"] != 0 ||
                             stats["milliseconds"]["filters"].contains("DisparityTransform"));
       ++i) {
    stats = client->nextText("stats");
  }
  EXPECT_FALSE(stats["milliseconds"]["filters"].contains("DisparityTransform")) << "the times are of lately";
}

TEST_F(ViewServerTest, FramesComeAtTheRateAndStandStillWhilePaused) {
  rate_ = 50;
  start();
  const auto client = connect();
  client->send({{"type", "watch"}, {"streams", {{"0", {"after"}}}}});
  std::string frame = client->nextFrame();
  while (number(frame, 8) == 0) frame = client->nextFrame();
  EXPECT_EQ(number(frame, 16), 20000 * number(frame, 8)) << "microseconds";
  client->send({{"type", "pause"}, {"camera", 0}, {"on", true}});
  EXPECT_EQ(client->nextText("camera")["paused"], true);
  EXPECT_EQ(ask(*client, {{"type", "reset"}, {"stream", 0}}), "done");  // any answer comes from a stream that rests
  frame = client->nextFrame();
  const uint32_t still = client->nextText("stats")["frame"];
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  client->send({{"type", "step"}, {"camera", 0}});
  while (number(frame, 8) <= still) frame = client->nextFrame();
  EXPECT_EQ(number(frame, 8), still + 1);
}

// The first frame of streams of every kind: the words before the pixels, and a checksum of these.
TEST_F(ViewServerTest, FramesAreTheKeptOnes) {
  more_ = {"Mirel:ir-left", "Ostrel:depth,ir", "SpecialOpenNI:depth"};
  start({64, 48}, "Corvid:depth,color");
  const auto client = connect();
  for (const unsigned camera : {0U, 1U, 2U, 3U}) client->send({{"type", "pause"}, {"camera", camera}, {"on", true}});
  std::ostringstream text;
  for (unsigned stream = 0; stream < 6; ++stream) {
    const Json planes = {"before", "after", "truth"};
    client->send({{"type", "watch"}, {"streams", {{std::to_string(stream), planes}}}});
    const std::string frame = client->nextFrame();
    const size_t pixels = 24 + 32 * static_cast<size_t>(frame.at(6));
    for (size_t at = 0; at < pixels; at += 4) text << (at % 32 == 24 ? "\n  " : " ") << std::hex << number(frame, at);
    uint64_t sum = 0xcbf29ce484222325;
    for (size_t at = pixels; at < frame.size(); ++at) sum = (sum ^ static_cast<uint8_t>(frame[at])) * 0x100000001b3;
    text << "\n  " << sum << '\n';
  }
  expectKept("frames.txt", text.str());
}

TEST_F(ViewServerTest, WhatIsWatchedComesAndWhatIsSetShows) {
  start();
  const auto client = connect(), other = connect();
  client->send({{"type", "watch"}, {"streams", {{"0", {"before", "after", "truth"}}}}});
  std::string frame = client->nextFrame();
  while (frame.at(6) != 3) frame = client->nextFrame();  // planes that nobody watched before come with a later one
  EXPECT_EQ(frame.size(), 24U + 3 * 32 + 3 * 64 * 48 * 2);
  EXPECT_EQ(frame.substr(24, 4), std::string("\0\1\0\0", 4)) << "disparity before the chain";
  float lens[4];
  memcpy(lens, &frame.at(72), sizeof lens);
  EXPECT_EQ(lens[0], 910.0F * 64 / 1280) << "of what comes out of the chain";
  EXPECT_EQ(lens[2], 31.5F);
  EXPECT_EQ(frame.substr(56, 4), std::string("\1\0\0\0", 4)) << "depth after it";
  EXPECT_GT(number(client->nextFrame(), 8), number(frame, 8));

  EXPECT_EQ(ask(*client, {{"type", "set"}, {"stream", 0}, {"values", {{"FrameRotate#0", "90"}}}}), "done");
  while (number(frame, 60) != 48) frame = client->nextFrame();
  EXPECT_EQ(number(frame, 64), 64U) << "turned";
  EXPECT_EQ(other->nextText("state")["values"]["FrameRotate#0"], "90") << "told to others";
}

TEST_F(ViewServerTest, AStreamRestsWhenItsClientHasGone) {
  start();
  auto client = connect();
  client->send({{"type", "watch"}, {"streams", {{"0", {"after"}}}}});
  EXPECT_NE(client->nextFrame(), "");
  client.reset();
  const auto newest = [&] { return cameras_->streams()[0]->newest()->number; };
  bool rests = false;
  for (int i = 0; i < 100 && !rests; ++i) {
    const uint32_t last = newest();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    rests = newest() == last;
  }
  EXPECT_TRUE(rests);
}

TEST_F(ViewServerTest, DepthIsAlignedToColour) {
  start();
  const auto client = connect();
  client->send({{"type", "watch"}, {"streams", {{"0", {"after"}}}}});
  const Json wish = {{"type", "d2c"}, {"stream", 0}, {"on", true},  {"scale", 0.5}, {"left", 2},
                     {"top", 0},      {"right", 4},  {"bottom", 1}, {"apply", true}};
  EXPECT_EQ(ask(*client, wish), "done");
  std::string frame = client->nextFrame();
  while (number(frame, 28) != 38) frame = client->nextFrame();
  EXPECT_EQ(number(frame, 32), 25U);
}

TEST_F(ViewServerTest, CamerasOfOneFamilyRunApart) {
  more_ = {"corvid:ir", "Vashti:ir", "Talon:color"};
  scene_ = rampWithHole();
  start({24, 16}, "Corvid:depth");
  const auto client = connect();
  const auto frameOf = [&](unsigned stream, const char* role, char roleNumber) {
    client->send({{"type", "watch"}, {"streams", {{std::to_string(stream), {role}}}}});
    std::string frame = client->nextFrame();
    while (frame.at(4) != static_cast<char>(stream) || frame.at(24) != roleNumber) frame = client->nextFrame();
    return frame;
  };
  client->send({{"type", "pause"}, {"camera", 1}, {"on", true}});
  EXPECT_EQ(client->nextText("camera")["camera"], 1);
  const uint32_t stands = number(frameOf(1, "before", 0), 8);
  EXPECT_EQ(number(frameOf(1, "after", 1), 8), stands) << "the same frame for whatever is watched now";
  client->send({{"type", "step"}, {"camera", 1}});
  uint32_t next = stands;
  while (next == stands) next = number(client->nextFrame(), 8);
  EXPECT_EQ(next, stands + 1);
  const uint32_t goesOn = number(frameOf(0, "after", 1), 8);
  EXPECT_GT(number(client->nextFrame(), 8), goesOn);
}

TEST_F(ViewServerTest, APausedCameraStepsAndShowsWhatIsSet) {
  start();
  const auto client = connect();
  client->send({{"type", "watch"}, {"streams", {{"0", {"after"}}}}});
  client->send({{"type", "pause"}, {"camera", 0}, {"on", true}});
  EXPECT_EQ(client->nextText("camera")["paused"], true);
  EXPECT_EQ(ask(*client, {{"type", "reset"}, {"stream", 0}}), "done");  // any answer comes from a stream that rests
  std::string frame = client->nextFrame();
  const uint32_t still = client->nextText("stats")["frame"];
  EXPECT_EQ(client->nextText("stats")["frame"], still) << "figures come, frames do not";
  client->send({{"type", "step"}, {"camera", 0}});
  while (number(frame, 8) != still + 1) frame = client->nextFrame();
  const Json turn = {{"type", "set"}, {"stream", 0}, {"values", {{"FrameRotate#0", "90"}}}};
  const Json fail = {
      {"type", "fail"}, {"function", "vy_filter_set_config_value"}, {"nth", 4}, {"kind", "error with result"}};
  EXPECT_EQ(ask(*client, fail), "done");
  EXPECT_NE(ask(*client, turn), "done");
  EXPECT_EQ(number(client->nextFrame(), 28), 64U) << "a refused change leaves everything as it was";
  EXPECT_EQ(ask(*client, turn), "done");
  while (number(frame, 28) != 48) frame = client->nextFrame();
  EXPECT_EQ(number(frame, 8), still + 1) << "the same frame, turned";
  const auto late = connect();
  late->send({{"type", "watch"}, {"streams", {{"0", {"after"}}}}});
  EXPECT_EQ(number(late->nextFrame(), 8), still + 1) << "for a page that joins, too";
  vysim_reset();
}

TEST_F(ViewServerTest, OrderedFaultsReachTheChainOnly) {
  start({64, 48}, "Mirel:depth");  // its frames are unpacked for the page by calls of the same functions
  const auto client = connect();
  client->send({{"type", "watch"}, {"streams", {{"0", {"before", "after"}}}}});
  client->send({{"type", "pause"}, {"camera", 0}, {"on", true}});
  const Json again = {{"type", "reset"}, {"stream", 0}};  // makes a stream that rests process its frame once more
  EXPECT_EQ(ask(*client, again), "done");
  for (unsigned nth = 1; nth <= 8; ++nth) {  // more than a frame has calls
    const Json fail = {{"type", "fail"}, {"function", "vy_filter_process"}, {"nth", nth}, {"kind", "error"}};
    EXPECT_EQ(ask(*client, fail), "done");
    while (vysim_fail_count() < nth) EXPECT_EQ(ask(*client, again), "done");
    Json stats = client->nextText("stats");
    while (stats["failed"] != nth) stats = client->nextText("stats");
    EXPECT_EQ(stats["lastError"], "cannot process a frame: injected fault (reported by vy_filter_process)") << nth;
  }
  const uint64_t before = vysim_fail_count();
  Json fail = {{"type", "fail"}, {"function", "vy_filter_process"}, {"nth", 100}, {"kind", "null"}};
  EXPECT_EQ(ask(*client, fail), "done");
  for (int i = 0; i < 2; ++i) EXPECT_EQ(ask(*client, again), "done");
  EXPECT_EQ(vysim_fail_count(), before) << "a hundred calls are more than three frames";
  fail["nth"] = 1;
  EXPECT_EQ(ask(*client, fail), "done");
  while (vysim_fail_count() == before) EXPECT_EQ(ask(*client, again), "done");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(client->nextText("stats")["failed"], before) << "a filter may return nothing";
  client->send({{"type", "pause"}, {"camera", 0}, {"on", false}});
  EXPECT_NE(client->nextFrame(), "") << "the stream goes on";
  vysim_reset();
}

TEST_F(ViewServerTest, EachFunctionOnTheListOfFaultsIsCalledByChains) {
  vysim_count_calls(true);
  start();
  const auto client = connect();
  client->send({{"type", "watch"}, {"streams", {{"0", {"after"}}, {"1", {"after"}}}}});
  const Json align = {{"type", "d2c"}, {"stream", 0}, {"on", true},  {"scale", 0.5}, {"left", 2},
                      {"top", 0},      {"right", 4},  {"bottom", 1}, {"apply", true}};
  EXPECT_EQ(ask(*client, align), "done");
  for (std::string frame = client->nextFrame(); number(frame, 28) != 38;) frame = client->nextFrame();
  vysim_count_calls(false);
  const Json hello = connect()->nextText("hello");
  for (const Json& function : hello["faults"]["functions"]) {
    EXPECT_GT(vysim_call_count(function.get<std::string>().c_str()), 0U) << function;
  }
  vysim_reset();
}

TEST_F(ViewServerTest, SnapshotsAreTheFilesOfARun) {
  vycam::StreamOptions options;
  options.family = &vycam::parseFamily("Mirel");
  options.size = {320, 200};
  scene_ = vycam::GreyImage{320, 200, std::vector<uint16_t>(64000, 1000)};
  for (size_t i = 0; i < 64000; i += 2) scene_->pixels[i] = 3000;
  options.depth = scene_;
  options.settings = {"DisparityTransform#2=2000"};  // the truth goes on where the output ends
  start(options.size, "Mirel");
  const Json values = {{"DisparityTransform#2", "2000"}};
  EXPECT_EQ(ask(*connect(), {{"type", "set"}, {"stream", 0}, {"values", values}}), "done");
  options.frames = 2;  // the viewer took the first to see what its frames are
  for (const unsigned stream : {0U, 1U}) {
    if (stream == 1) options.sensor = VY_SENSOR_COLOR, options.settings.clear();
    vycam::Progress progress("", 2);
    vycam::StreamScales scales;
    const vycam::StreamResult run = vycam::runStream(library_, options, progress);
    const std::string folder = "snapshot/" + std::to_string(stream) + "/";
    EXPECT_TRUE(bodyOf(page(folder + "picture.png")) == vycam::paint(run, *options.family, scales).output->png());
    if (stream == 1) continue;
    const vycam::GreyImage output = vycam::greyPixels(run.output.get());
    EXPECT_TRUE(bodyOf(page(folder + "numbers.png")) == vycam::greyPng(output));
    EXPECT_TRUE(bodyOf(page(folder + "cloud.ply")) ==
                vycam::plyOf(vycam::pointsOf(output, vycam::intrinsicOf(run.output.get()))));
  }
}

TEST_F(ViewServerTest, SnapshotsThatAreMadeAreBounded) {
  start({160, 100});
  const std::string path = "/" + server_->token() + "/snapshot/0/picture.png";
  const std::string request = "GET " + path + " HTTP/1.1\r\nHost: " + ownHost() + "\r\n\r\n";
  std::set<std::string> found;
  while (found.size() < 2) {  // until the stream is too slow for all that come at once
    std::vector<std::unique_ptr<OpenConnection>> all;
    for (int i = 0; i < 24; ++i) all.push_back(std::make_unique<OpenConnection>(server_->port()));
    for (const auto& each : all) each->send(request);
    for (const auto& each : all) found.insert(each->answer().substr(0, 12));
    found.erase("");  // the connections of the round before may not have gone yet
  }
  EXPECT_EQ(found, (std::set<std::string>{"HTTP/1.1 200", "HTTP/1.1 503"}));
  EXPECT_EQ(answerTo(server_->port(), request).substr(0, 12), "HTTP/1.1 200");
}

// The status and our headers, and why there is no snapshot.
TEST_F(ViewServerTest, AnswersHaveTheKeptHeaders) {
  start();
  std::istringstream lines(kept("headers.txt"));
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("GET ", 0) != 0) continue;
    const std::string answer = page(line.substr(4));
    const std::string head = answer.substr(0, answer.find("\r\n\r\n") + 2);
    text += line + '\n' + head.substr(9, 3) + head.substr(head.find('\r'));
    if (answer.substr(9, 3) == "409") text += bodyOf(answer);
  }
  text = std::regex_replace(text, std::regex("\r|content-(length|type: text/html\r)[^\n]*\n"), "");
  expectKept("headers.txt", std::regex_replace(text, std::regex(":[0-9]{4,5}"), ":#"));
}

TEST_F(ViewServerTest, RequestsOfStrangersAreRefused) {
  start();
  const std::string home = "/" + server_->token() + "/", own = ownHost(), port = std::to_string(server_->port());
  expectParts(get(home, "localhost:" + port), {"200 OK", "<html"});
  const std::tuple<std::string, std::string, const char*> pages[] = {
      {"/", own, "404"},
      {"/index.html", own, "404"},
      {"/" + std::string(32, '0') + "/", own, "404"},
      {home, "evil.example:" + port, "403"},
      {home, "127.0.0.1", "403"},
      {home, "127.0.0.1:1", "403"},
  };
  for (const auto& [path, host, status] : pages) {
    const std::string answer = get(path, host);
    EXPECT_EQ(answer.substr(9, 3), status) << path << " of " << host;
    expectParts(answer, {"x-content-type-options: nosniff", "cache-control: no-store"});
  }
  EXPECT_THROW(OpenConnection(server_->port(), "127.0.0.2"), std::runtime_error);
  for (const char* const method : {"POST", "PUT", "DELETE", "HEAD", "OPTIONS"}) {
    const std::string request = method + (" " + home) + " HTTP/1.1\r\nHost: " + own + "\r\nContent-Length: 0\r\n\r\n";
    EXPECT_EQ(answerTo(server_->port(), request).substr(9, 3), "405") << method;
  }
  EXPECT_EQ(answerTo(server_->port(), "GET " + home + " HTTP/1.1\r\n\r\n").find("200 OK"), std::string::npos);
  const struct {
    const char* what;
    std::string path, host, origin, protocol;
    bool isLetIn;
  } sockets[] = {
      {"right", home + "live", own, "http://" + own, "vycam", true},
      {"by name", home + "live", "localhost:" + port, "http://localhost:" + port, "vycam", true},
      {"another page", home + "live", own, "http://evil.example", "vycam", false},
      {"no page", home + "live", own, "null", "vycam", false},
      {"another port's page", home + "live", own, "http://127.0.0.1:1", "vycam", false},
      {"another name", home + "live", "evil.example:" + port, "http://" + own, "vycam", false},
      {"another path", home, own, "http://" + own, "vycam", false},
      {"another token", "/" + std::string(32, '0') + "/live", own, "http://" + own, "vycam", false},
      {"another protocol", home + "live", own, "http://" + own, "http", false},
      {"unknown protocol", home + "live", own, "http://" + own, "chat", false},
  };
  for (const auto& c : sockets) {
    const std::string answer =
        answerTo(server_->port(), "GET " + c.path + " HTTP/1.1\r\nHost: " + c.host + "\r\nOrigin: " + c.origin +
                                      "\r\nSec-WebSocket-Protocol: " + c.protocol +
                                      "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                                      "Sec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\n\r\n");
    EXPECT_EQ(answer.substr(0, 12) == "HTTP/1.1 101", c.isLetIn) << c.what << ": " << answer;
  }
}

TEST_F(ViewServerTest, APauseAtOnceShowsAFrameAndItsFigures) {
  start();
  const auto client = connect();
  for (int i = 0; i < 20; ++i) {
    client->send({{"type", "watch"}, {"streams", {{"0", {"after"}}}}});
    client->send({{"type", "pause"}, {"camera", 0}, {"on", true}});
    EXPECT_NE(client->nextFrame(), "");
    EXPECT_EQ(client->nextText("stats")["stream"], 0);
    client->send({{"type", "watch"}, {"streams", Json::object()}});
    client->send({{"type", "pause"}, {"camera", 0}, {"on", false}});
  }
}

TEST_F(ViewServerTest, CallsToFailAreBounded) {
  vysim_fail_call("vy_create_filter", 1, VYSIM_FAULT_NULL);
  vy_create_filter("FrameFlip", nullptr);
  ASSERT_EQ(vysim_fail_count(), 1U) << "of before";
  start();
  const auto client = connect();
  Json fail = {{"type", "fail"}, {"function", "vy_filter_process"}, {"nth", 1000000}, {"kind", "error"}};
  for (int i = 0; i < 100; ++i) EXPECT_EQ(ask(*client, fail), "done");
  EXPECT_EQ(ask(*connect(), fail), "100 calls are to fail already; more can be ordered when some of them have");
  vysim_reset();
}

TEST_F(ViewServerTest, SenselessClientsLoseTheirConnectionAndDisturbNobody) {
  start();
  const auto good = connect();
  good->send({{"type", "watch"}, {"streams", {{"0", {"after"}}}}});
  const struct {
    std::string bytes;
    bool isBinary;
    std::string said;
  } cases[] = {
      // The reason holds 120 bytes: one of the quotation mark, and 59 letters of two.
      {R"({"type":"watch","streams":{"0":[")" + letters(80) + R"("]}})", false, "\"" + letters(59)},
      {R"({"type":"step","camera":0})", true, "messages to the server are texts"},
      {std::string(vycam::kLargestClientMessage + 1, ' '), false, "a message has more than 16384 bytes"},
  };
  for (const auto& c : cases) {
    ViewClient client(server_->port(), server_->token());
    client.send(c.bytes, c.isBinary);
    while (client.next()) {
    }
    EXPECT_EQ(client.closeCode(), 1008) << c.said;
    EXPECT_EQ(client.closeReason(), c.said);
    EXPECT_NO_THROW(Json(client.closeReason()).dump()) << "cut within a letter";
    EXPECT_NE(good->nextFrame(), "");
  }
  const auto hasty = connect();
  std::string largest = R"({"type":"step","camera":0})";
  largest.resize(vycam::kLargestClientMessage, ' ');
  for (int second = 0; second < 2; ++second) {
    clock_ += second;
    hasty->send(largest, false);
    for (int i = 0; i < 198; ++i) hasty->send({{"type", "step"}, {"camera", 0}});
    EXPECT_EQ(ask(*hasty, {{"type", "reset"}, {"stream", 0}}), "done");
  }
  EXPECT_EQ(ask(*hasty, {{"type", "reset"}, {"stream", 0}}), "closed: more than 200 messages in a second");
  EXPECT_NE(good->nextFrame(), "");
}

TEST_F(ViewServerTest, WhoReadsNothingLosesTheConnectionAndDisturbsNobody) {
  start({640, 400});
  const Json watch = {{"type", "watch"}, {"streams", {{"0", {"before", "after", "truth"}}}}};
  const auto slow = connect(), good = connect();
  slow->send(watch);
  good->send(watch);
  // The frames of 1.5 MB are more than the kernel holds for a client that does not read. Time goes on while the other
  // one reads.
  for (int i = 0; i < 60; ++i) {
    ASSERT_NE(good->nextFrame(), "") << i;
    clock_ += 1;
  }
  int messages = 0;
  while (slow->next()) ASSERT_LT(++messages, 60);
  EXPECT_NE(good->nextFrame(), "");
  const auto fresh = connect();
  fresh->send(watch);
  EXPECT_NE(fresh->nextFrame(), "");
}

TEST_F(ViewServerTest, AServerThatStoodStillBlamesNobody) {
  perLook_ = 3600;
  start();
  const auto client = connect();
  client->send({{"type", "pause"}, {"camera", 0}, {"on", true}});
  client->send({{"type", "watch"}, {"streams", {{"0", {"after"}}}}});
  for (int i = 0; i < 5; ++i) {
    ASSERT_NE(client->nextFrame(), "") << i << ": " << client->closeReason();
    client->send({{"type", "step"}, {"camera", 0}});
  }
}

TEST_F(ViewServerTest, DroppedFramesAreCountedForEachClient) {
  start({640, 400});
  const auto slow = connect(), good = connect();
  slow->send({{"type", "watch"}, {"streams", {{"1", {"after"}}}}});
  good->send({{"type", "watch"}, {"streams", {{"1", {"after"}}}}});
  std::string first = slow->nextFrame();
  for (int i = 0; i < 30; ++i) good->nextFrame();
  uint32_t received = 1, dropped = 0;
  std::string last;
  while (dropped == 0) {
    last = slow->nextFrame();
    ASSERT_NE(last, "");
    ++received;
    dropped = number(last, 12);
  }
  // All frames came out of the camera without a gap, so what is not received is dropped.
  EXPECT_EQ(number(last, 8) - number(first, 8) + 1, received + dropped);
}

TEST_F(ViewServerTest, ClientsAreBounded) {
  start();
  std::vector<std::unique_ptr<ViewClient>> clients;
  for (int i = 0; i < 16; ++i) clients.push_back(connect());
  EXPECT_TRUE(connect()->nextText("hello").is_null());
  EXPECT_EQ(clients.back()->nextText("hello")["type"], "hello");
  clients.clear();
  std::unique_ptr<ViewClient> again = connect();  // the server may notice a little later that they have gone
  while (again->nextText("hello").is_null()) again = connect();
}

TEST_F(ViewServerTest, APortInUseIsTold) {
  start();
  vycam::ServerOptions options;
  options.port = server_->port();
  expectParts(refusal([&] { vycam::Server second(*cameras_, options); }),
              {"cannot listen on 127.0.0.1 port " + std::to_string(options.port), "Address already in use", "--port"});
}

TEST_F(ViewServerTest, ConnectionsAreBounded) {
  for (const int others : {63, 64}) {
    start();
    std::vector<std::unique_ptr<OpenConnection>> idle;
    for (int i = 0; i < others; ++i) idle.push_back(std::make_unique<OpenConnection>(server_->port()));
    EXPECT_EQ(page("").empty(), others == 64);
    server_.reset();
  }
}

TEST_F(ViewServerTest, APortIsFreeAgainAtOnce) {
  start();
  const auto client = connect();
  EXPECT_FALSE(client->nextText("hello").is_null());
  vycam::ServerOptions options;
  options.port = server_->port();
  server_.reset();  // the connection that the server ended still lingers
  cameras_.emplace(library_, vycam::LiveOptions());
  EXPECT_EQ(refusal([&] { server_.emplace(*cameras_, options); }), "accepted");
}

/// A stream without a server, whose thread begins when a test says so.
class ViewStreamTest : public testing::Test {
 protected:
  ViewStreamTest() {
    vycam::LiveOptions live;
    live.cameras = {vycam::parseCameraChoice("Corvid:depth")};
    live.size = {64, 48};
    facts_ = vycam::LiveCameras(library_, live).streams()[0]->facts();
    stream_.emplace(facts_, camera_.get(), context_.makeProcessor("Corvid", VY_SENSOR_DEPTH));
  }

  void start(const std::function<void()>& onFrame = [] {}) {
    stream_->start({onFrame, [](const auto&) {}, [this](const vycam::StreamStats& stats) { stats_ = stats; }}, 0);
  }
  /// Waits until the stream has done what it was asked, and one thing more.
  void settle() {
    for (int i = 0; i < 2; ++i) {
      const auto isDone = std::make_shared<std::promise<void>>();
      stream_->reset([isDone](const auto&) { isDone->set_value(); });
      isDone->get_future().wait();
    }
  }

  const vycam::Library library_{""};
  const vycam::Camera camera_ = vycam::openCamera(vycam::parseFamily("Corvid"), {64, 48}, false, {}, 0);
  const vycam::Context context_{library_, vysim_camera_get_device(camera_.get(), nullptr)};
  vycam::StreamFacts facts_;
  vycam::StreamStats stats_;  // of the stream's thread
  std::optional<vycam::LiveStream> stream_;
};

TEST_F(ViewStreamTest, StepsThatWaitAreBounded) {
  stream_->pause(true);
  for (int i = 0; i < 150; ++i) stream_->step();
  start();
  while (stream_->newest() == nullptr || stream_->newest()->number < 99) settle();
  settle();
  EXPECT_EQ(stream_->newest()->number, 99U);
  stream_->pause(false);
  stream_->step();  // counts for nothing now
  settle();
  EXPECT_EQ(stream_->newest()->number, 99U);
}

TEST_F(ViewStreamTest, APauseTakesStepsBackThatWait) {
  stream_->pause(true);
  for (int i = 0; i < 5; ++i) stream_->step();
  stream_->pause(true);
  for (int i = 0; i < 2; ++i) stream_->step();
  start();
  for (int i = 0; i < 5; ++i) settle();
  EXPECT_EQ(stream_->newest()->number, 1U);
}

TEST_F(ViewStreamTest, FramesThatNobodyWaitedForAreLost) {
  stream_->pause(true);
  for (int i = 0; i < 4; ++i) stream_->step();
  std::deque<int> skipped = {1, 2};
  start([&] {
    for (int i = 0; !skipped.empty() && i < skipped.front(); ++i) vycam::nextFrame(camera_.get(), VY_SENSOR_DEPTH);
    if (!skipped.empty()) skipped.pop_front();
  });
  for (int i = 0; i < 4; ++i) settle();
  stream_->stop();
  EXPECT_EQ(stats_.frame, 6U) << "0, 2, 5, 6";
  EXPECT_EQ(stats_.lost, 3U);
}

TEST_F(ViewStreamTest, WhatTheCameraTakesDuringARestIsNotLost) {
  stream_->pause(true);
  stream_->step();
  start();
  for (int i = 0; i < 3; ++i) settle();
  std::this_thread::sleep_for(std::chrono::milliseconds(100));  // the stream rests
  for (int i = 0; i < 3; ++i) vycam::nextFrame(camera_.get(), VY_SENSOR_DEPTH);
  stream_->step();
  for (int i = 0; i < 3; ++i) settle();
  stream_->stop();
  EXPECT_EQ(stats_.frame, 4U);
  EXPECT_EQ(stats_.lost, 0U);
}

/// A viewer that runs as a command.
class Viewer {
 public:
  Viewer(const std::string& folder, const std::string& arguments)
      : pipe_(popen(("cd '" + folder + "' && echo $$ && exec '" VYCAM_COMMAND "' view " + arguments).c_str(), "r")) {
    EXPECT_EQ(fscanf(pipe_, "%d http://127.0.0.1:%d/%32s", &process_, &port, token), 3) << arguments;
  }
  Viewer(const Viewer&) = delete;
  Viewer& operator=(const Viewer&) = delete;
  ~Viewer() {
    if (process_ > 0) kill(process_, SIGTERM);
    EXPECT_EQ(pclose(pipe_), 0);
  }

  Json hello() const { return port == 0 ? Json() : ViewClient(port, token).nextText("hello"); }

  int port = 0;
  char token[33] = "";

 private:
  FILE* const pipe_;
  int process_ = 0;
};

using ViewCommandTest = VycamTest;

TEST_F(ViewCommandTest, PrintsTheAddressAndEndsAtASignal) {
  signal(SIGHUP, SIG_DFL);  // a shell under nohup ignores it, and cannot take that back for what it starts
  write("xdg-open", "#!/bin/sh\n>opened\n");
  for (const char* const signal : {"INT", "TERM", "HUP"}) {
    const std::string line = std::string("chmod +x xdg-open; PATH=.:$PATH; mkfifo out; '" VYCAM_COMMAND
                                         "' view --size 64x48 --camera Talon:ir-left >out & ") +
                             "read -r line <out; echo \"$line\"; kill -" + signal + " $!; wait $!; echo $?; rm out";
    const Outcome outcome = shell(line);
    EXPECT_TRUE(outcome.out.substr(0, 17) == "http://127.0.0.1:" &&
                outcome.out.substr(outcome.out.size() - 4) == "/\n0\n")
        << outcome.out << outcome.err;
    EXPECT_EQ(outcome.err, "");
  }
  EXPECT_EQ(files(), std::set<std::string>{"xdg-open"});  // nobody has asked for a browser
}

TEST_F(ViewCommandTest, CamerasAreTheOnesThatWereAskedFor) {
  writePng(path("scene.png"), storedPng(rampWithHole()));
  const std::pair<std::string, std::string> cases[] = {
      {"", "--depth scene.png"}, {"--clean ", "--depth scene.png"}, {"--clean ", "--size 48x32 --depth scene.png"}};
  for (const auto& [clean, options] : cases) {
    SCOPED_TRACE(clean + options);
    const Viewer viewer(path(""), "--camera Vashti:depth " + clean + options);
    const std::string host = "127.0.0.1:" + std::to_string(viewer.port);
    const std::string request =
        std::string("GET /") + viewer.token + "/snapshot/0/numbers.png HTTP/1.1\r\nHost: " + host;
    const std::string body = bodyOf(answerTo(viewer.port, request + "\r\n\r\n"));
    EXPECT_EQ(vycam("run --camera Vashti --sensor depth --frames 1 --clean --out made " + options).err, "");
    // Clean frames of an image are all the same, and others never like them.
    EXPECT_EQ(body == contentsOf(path("made/output16.png")), !clean.empty());
    EXPECT_EQ(viewer.hello()["cameras"][0]["rate"], 30);
  }
  std::string port;
  const std::pair<const char*, std::vector<std::string>> names[] = {
      {"", {"Corvid"}}, {"--camera Vashti:depth --camera Talon:ir-left", {"Vashti", "Talon"}}};
  for (const auto& [cameras, expected] : names) {
    const Viewer viewer(path(""), cameras + port);
    std::vector<std::string> found;
    const Json hello = viewer.hello();
    for (const Json& camera : hello["cameras"]) found.push_back(camera["name"]);
    EXPECT_EQ(found, expected);
    const std::string own = " --port " + std::to_string(viewer.port);
    EXPECT_EQ(port.empty() ? own : port, own);
    port = own;  // free again when the viewer has ended
  }
}

TEST_F(ViewCommandTest, OpensTheAddress) {
  write("xdg-open", "#!/bin/sh\necho \"$1\" >opened\n");
  const std::string start = "chmod +x xdg-open; mkfifo out opened; ";
  const std::string view = "'" VYCAM_COMMAND "' view --size 64x48 --open >out & read -r line <out; ";
  Outcome outcome =
      shell(start + "PATH=.:$PATH " + view + "read -r again <opened; kill $!; wait $!; echo $line $again");
  const size_t half = outcome.out.find(' ');
  EXPECT_EQ(outcome.out.substr(0, half) + "\n", outcome.out.substr(half + 1));
  // In an emulator, which is found by PATH itself, a process that finds no program cannot say so.
  if (VYCAM_COMMAND[0] != '/') return;
  outcome = shell("PATH=nowhere " + view + "kill $!; wait $!; echo $?");
  EXPECT_EQ(outcome.out, "0\n");
  expectParts(outcome.err, {"cannot open the address with xdg-open: No such file or directory"});
}

}  // namespace
