// The viewer's server with clients of every kind.
#include "view/Server.h"

#include <atomic>

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
    live.rate = 0;
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

std::string letters(size_t count) {
  std::string all;
  for (size_t i = 0; i < count; ++i) all += "\u00e4";
  return all;
}

TEST_F(ViewServerTest, TheGreetingDescribesCamerasAndStreams) {
  start({640, 400}, "Corvid:depth,ir,color");
  const Json hello = connect()->nextText("hello");
  EXPECT_EQ(hello["cameras"], Json::parse(R"([{"name":"Corvid","rate":0,"paused":false}])"));
  ASSERT_EQ(hello["streams"].size(), 3U);
  const Json& depth = hello["streams"][0];
  EXPECT_TRUE(depth["sensor"] == "depth" && depth["kind"] == "depth" && depth["width"] == 640) << depth;
  EXPECT_TRUE(depth["format"] == "16-bit words" && depth["focalLength"] == 455.0) << depth;
  EXPECT_TRUE(depth["baseline"] == 40.0 && depth["subPixelBits"] == 7) << depth;
  EXPECT_EQ(depth["toColour"], Json::parse(R"({"stream":2,"rotation":[1,0,0,0,1,0,0,0,1],"translation":[-22,0,0]})"));
  EXPECT_EQ(depth["d2c"]["on"], false);
  EXPECT_EQ(depth["chain"][0]["name"], "CorvidPixelOffsetFix");
  const auto wrapper = std::find_if(depth["chain"].begin(), depth["chain"].end(),
                                    [](const Json& link) { return link["name"] == "HardwareD2CProcessor"; });
  EXPECT_TRUE((*wrapper)["wraps"] == "DepthResize" && (*wrapper)["switch"] == "HardwareD2CProcessor#255") << depth;
  EXPECT_EQ(depth["settings"][0]["key"], "NoiseRemovalFilter#0");
  EXPECT_EQ(depth["settings"][0]["start"], depth["settings"][0]["value"]);
  EXPECT_EQ(hello["streams"][1]["kind"], "infrared");
  const Json& colour = hello["streams"][2];
  EXPECT_TRUE(colour["kind"] == "colour" && colour["d2c"].is_null() && colour["toColour"].is_null()) << colour;
  EXPECT_EQ(hello["faults"]["kinds"], Json::parse(R"(["error","null","error with result"])"));
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
  const std::string refusal =
      ask(*client, {{"type", "set"}, {"stream", 0}, {"values", {{"FrameMirror#255", "1"}, {"FrameRotate#0", "91"}}}});
  expectParts(refusal, {"cannot apply the settings", "Angle", "but is 91", "vy_filter_set_config_value"});
  const std::pair<Json, const char*> refused[] = {
      {{{"type", "set"}, {"stream", 0}, {"values", {{"FrameRotate#0", "x"}}}}, "\"x\" is no value for FrameRotate#0"},
      {{{"type", "set"}, {"stream", 0}, {"values", {{"FrameRotate#7", "1"}}}}, "unknown setting \"FrameRotate#7\""},
      {{{"type", "set"}, {"stream", 2}, {"values", Json::object()}}, "there is no stream 2"},
      {{{"type", "reset"}, {"stream", 9}}, "there is no stream 9"},
      {{{"type", "fail"}, {"function", "vy_delete_frame"}, {"nth", 1}, {"kind", "null"}}, "\"vy_delete_frame\""},
  };
  for (const auto& [request, said] : refused) expectParts(ask(*client, request), {said});
  EXPECT_EQ(ask(*client, {{"type", "reset"}, {"stream", 0}}), "done");
  EXPECT_EQ(client->closeCode(), 0);
  const Json state = other->nextText("state");
  EXPECT_TRUE(state["values"]["FrameRotate#0"] == "0" && state["values"]["FrameMirror#255"] == "0") << state;
}

TEST_F(ViewServerTest, DepthIsAlignedToColour) {
  start();
  const auto client = connect();
  client->send({{"type", "watch"}, {"streams", {{"0", {"after"}}}}});
  Json wish = {{"type", "d2c"}, {"stream", 0}, {"on", true},  {"scale", 0.5}, {"left", 2},
               {"top", 0},      {"right", 4},  {"bottom", 1}, {"apply", true}};
  EXPECT_EQ(ask(*client, wish), "done");
  std::string frame = client->nextFrame();
  while (number(frame, 28) != 38) frame = client->nextFrame();
  EXPECT_EQ(number(frame, 32), 25U);
  const Json states = connect()->nextText("hello")["streams"][0];
  EXPECT_TRUE(states["d2c"]["on"] == true && states["d2c"]["left"] == 2) << states;
  const auto alignment = std::find_if(states["settings"].begin(), states["settings"].end(),
                                      [](const Json& row) { return row["key"] == "HardwareD2CProcessor#255"; });
  EXPECT_EQ((*alignment)["value"], "1") << "the switch follows";
  wish["stream"] = 1;
  expectParts(ask(*client, wish), {"no HardwareD2CProcessor"});
  wish["stream"] = 0;
  wish["scale"] = 17;
  expectParts(ask(*client, wish), {"scale=17", "above 0, up to 16"});
  wish["scale"] = 1;
  wish["top"] = -4000;
  expectParts(ask(*client, wish), {"1 to 32767 pixels"});
  EXPECT_EQ(ask(*client, {{"type", "set"}, {"stream", 0}, {"values", {{"HardwareD2CProcessor#255", "0"}}}}), "done");
  EXPECT_EQ(connect()->nextText("hello")["streams"][0]["d2c"]["on"], false) << "the parameters follow the switch";
}

TEST_F(ViewServerTest, CamerasOfOneFamilyRunApart) {
  more_ = {"corvid:ir", "Vashti:ir", "Talon:color"};
  scene_ = rampWithHole();
  start({24, 16}, "Corvid:depth");
  const auto client = connect();
  const Json hello = client->nextText("hello");
  EXPECT_EQ(hello["cameras"][0]["name"], "Corvid");
  EXPECT_EQ(hello["cameras"][1]["name"], "Corvid 2");
  EXPECT_EQ(hello["streams"][2]["camera"], 2);
  const auto frameOf = [&](unsigned stream, const char* role, char roleNumber) {
    client->send({{"type", "watch"}, {"streams", {{std::to_string(stream), {role}}}}});
    std::string frame = client->nextFrame();
    while (frame.at(4) != static_cast<char>(stream) || frame.at(24) != roleNumber) frame = client->nextFrame();
    return frame;
  };
  EXPECT_EQ(frameOf(1, "after", 1).at(25), 2) << "brightness in two bytes";
  EXPECT_EQ(frameOf(2, "after", 1).at(25), 4) << "in one";
  EXPECT_EQ(frameOf(3, "after", 1).at(25), 3) << "colours";
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
  EXPECT_EQ(ask(*client, {{"type", "set"}, {"stream", 0}, {"values", {{"FrameRotate#0", "90"}}}}), "done");
  while (number(frame, 28) != 48) frame = client->nextFrame();
  EXPECT_EQ(number(frame, 8), still + 1) << "the same frame, turned";
  const auto late = connect();
  late->send({{"type", "watch"}, {"streams", {{"0", {"after"}}}}});
  EXPECT_EQ(number(late->nextFrame(), 8), still + 1) << "for a page that joins, too";
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

TEST_F(ViewServerTest, SnapshotsAreFiles) {
  start({320, 200});
  expectParts(page("snapshot/0/picture.png"), {"200 OK", "content-type: image/png",
                                               "attachment; filename=\"Corvid-depth-picture.png\"", "\r\n\r\n\x89PNG"});
  expectParts(page("snapshot/1/picture.png"), {"200 OK", "\r\n\r\n\x89PNG"});
  expectParts(page("snapshot/0/numbers.png"), {"200 OK", "\r\n\r\n\x89PNG"});
  expectParts(page("snapshot/0/cloud.ply"), {"200 OK", "\r\n\r\nply\n"});
  expectParts(page("snapshot/1/cloud.ply"),
              {"409", "text/plain", "points need a depth image in millimetres; this one"});
  for (const char* const path : {"2/picture.png", "0/other.png", "0", "", "/picture.png", "00/picture.png"}) {
    expectParts(page(std::string("snapshot/") + path), {"404"});
  }
}

TEST_F(ViewServerTest, RequestsOfStrangersAreRefused) {
  start();
  const std::string home = "/" + server_->token() + "/", own = ownHost(), port = std::to_string(server_->port());
  const std::string whole = get(home, own);
  expectParts(whole, {"200 OK", "text/html; charset=utf-8", "content-security-policy: default-src 'none'; script-src",
                      "x-content-type-options: nosniff", "referrer-policy: no-referrer", "cache-control: no-store",
                      "cross-origin-resource-policy: same-origin", "<html"});
  expectParts(get(home + "style.css", "localhost:" + port), {"200 OK", "text/css; charset=utf-8"});
  const std::tuple<std::string, std::string, const char*> pages[] = {
      {"/", own, "404"},
      {"/index.html", own, "404"},
      {"/" + std::string(32, '0') + "/", own, "404"},
      {home + "absent.js", own, "404"},
      {home + "../index.html", own, "404"},
      {home, "evil.example:" + port, "403"},
      {home, "127.0.0.1", "403"},
      {home, "127.0.0.1:1", "403"},
  };
  for (const auto& [path, host, status] : pages) {
    const std::string answer = get(path, host);
    EXPECT_EQ(answer.substr(9, 3), status) << path << " of " << host;
    expectParts(answer, {"x-content-type-options: nosniff", "cache-control: no-store"});
  }
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
  start();
  const auto client = connect();
  Json fail = {{"type", "fail"}, {"function", "vy_filter_process"}, {"nth", 1000000}, {"kind", "error"}};
  for (int i = 0; i < 100; ++i) EXPECT_EQ(ask(*client, fail), "done");
  expectParts(ask(*connect(), fail), {"100 calls are to fail already"});
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
      {"nonsense", false, "no JSON object"},
      {R"({"type":"watch","streams":{"2":["after"]}})", false, "there is no stream 2"},
      // The reason holds 120 bytes: one of the quotation mark, and 59 letters of two.
      {R"({"type":"watch","streams":{"0":[")" + letters(80) + R"("]}})", false, letters(59)},
      {R"({"type":"pause","camera":1,"on":true})", false, "there is no camera 1"},
      {R"({"type":"step","camera":1})", false, "there is no camera 1"},
      {R"({"type":"step","camera":0})", true, "texts"},
      {std::string(vycam::kLargestClientMessage + 1, ' '), false, "more than 16384 bytes"},
  };
  for (const auto& c : cases) {
    ViewClient client(server_->port(), server_->token());
    client.send(c.bytes, c.isBinary);
    while (client.next()) {
    }
    EXPECT_EQ(client.closeCode(), 1008) << c.said;
    expectParts(client.closeReason(), {c.said});
    EXPECT_NO_THROW(Json(client.closeReason()).dump()) << "cut within a letter";
    EXPECT_NE(good->nextFrame(), "");
  }
  const auto hasty = connect();
  for (int i = 0; i < 200; ++i) hasty->send({{"type", "step"}, {"camera", 0}});
  clock_ += 1;
  for (int i = 0; i < 200; ++i) hasty->send({{"type", "step"}, {"camera", 0}});
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

using ViewCommandTest = VycamTest;

TEST_F(ViewCommandTest, PrintsTheAddressAndEndsAtASignal) {
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
