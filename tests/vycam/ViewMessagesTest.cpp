// What server and page say to each other, without a connection: texts, frames' bytes, what waits, who may come in.
#include "view/ClientMessage.h"
#include "view/ServerMessage.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "view/Access.h"
#include "view/Outbox.h"
#include "view/PageFiles.h"
#include "vycam/VycamTest.h"

namespace {

using vycam::bitOf;
using vycam::LiveFrame;
using vycam::Outbox;
using vycam::Role;
using Json = nlohmann::json;

std::string offence(const std::string& text) {
  try {
    vycam::parseClientMessage(text);
  } catch (const vycam::BadMessage& bad) {
    return bad.what();
  }
  return "accepted";
}

template <class Wish>
Wish wishOf(const std::string& text) {
  return std::get<Wish>(vycam::parseClientMessage(text).wish);
}

TEST(ViewMessagesTest, WishesOfClients) {
  const auto watch = wishOf<vycam::WatchWish>(R"({"type":"watch","streams":{"0":["before","truth"],"12":[]}})");
  const std::map<unsigned, vycam::Roles> roles = {{0, bitOf(Role::before) | bitOf(Role::truth)}, {12, 0}};
  EXPECT_EQ(watch.roles, roles);
  const auto set = wishOf<vycam::SetWish>(R"({"type":"set","request":7,"stream":2,"values":{"A#0":"1.5","B#255":""}})");
  EXPECT_EQ(set.stream, 2U);
  EXPECT_EQ(set.settings, (std::vector<std::string>{"A#0=1.5", "B#255="}));
  EXPECT_EQ(wishOf<vycam::ResetWish>(R"({"type":"reset","request":0,"stream":3})").stream, 3U);
  const std::string d2c = R"("scale":1.5,"left":8,"top":-1,"right":0,"bottom":2,"apply":)";
  const auto align = wishOf<vycam::AlignWish>(R"({"type":"d2c","request":8,"stream":0,"on":true,)" + d2c + "true}");
  EXPECT_TRUE(align.isOn);
  EXPECT_EQ(align.parameters, "scale=1.5,left=8,top=-1,right=0,bottom=2,apply=1");
  EXPECT_TRUE(wishOf<vycam::PauseWish>(R"({"type":"pause","camera":1,"on":true})").isOn);
  EXPECT_EQ(wishOf<vycam::StepWish>(R"({"type":"step","camera":1})").camera, 1U);
  const auto fail =
      wishOf<vycam::FailWish>(R"({"type":"fail","request":9,"function":"f","nth":3,"kind":"error with result"})");
  EXPECT_TRUE(fail.function == "f" && fail.nth == 3 && fail.fault == VYSIM_FAULT_ERROR_WITH_RESULT);
  EXPECT_EQ(vycam::parseClientMessage(R"({"type":"reset","request":41,"stream":3})").request, 41U);
}

TEST(ViewMessagesTest, WhatIsNoJsonIsRefused) {
  for (const std::string& text : {std::string(), std::string("{\"type\":\"step\",\"camera\":\"\xFF\"}"),
                                  std::string(vycam::kLargestClientMessage, '[')})
    EXPECT_EQ(offence(text), "the message is no JSON object");
}

TEST(ViewMessagesTest, TextsForClients) {
  vycam::StreamStats stats{12, 7.5, 3, 2, {}, {0.25, 0.5, 0.125, {{"FrameMirror", 0.5}}}, {}};
  std::string text = vycam::statsText(4, vycam::StreamStats(), 0) + '\n' + vycam::statsText(4, stats, 9) + '\n';
  stats.lastError = "broken \xFF text";  // still UTF-8 in the message
  stats.error = vycam::StreamError{2, {}, 0.5, 0.75, 100};
  text += vycam::statsText(4, stats, 9) + '\n';
  stats.error->p95 = 5;
  text += vycam::statsText(5, stats, 8) + '\n';
  text += vycam::answerText(7, std::nullopt) + '\n' + vycam::answerText(7, "no \"A\"") + '\n';
  text += vycam::cameraText(3, true) + '\n' + vycam::cameraText(4, false) + '\n';
  expectKept("messages.txt", text);
}

/// A frame of 3 x 1 pixels before the chain, and of 1 x 1 behind it.
std::shared_ptr<LiveFrame> makeFrame(uint16_t stream, uint64_t sequence) {
  static const uint8_t pixels[] = {1, 2, 3, 4, 5, 6};
  auto frame = std::make_shared<LiveFrame>();
  frame->stream = stream;
  frame->number = 0x01020304;
  frame->microseconds = 0x1122334455667788;
  frame->sequence = sequence;
  frame->planes = {{Role::before, vycam::PixelKind::disparity, 3, 1, {1, 2, 0.5F, 0, 3, 1}, nullptr, pixels, 6},
                   {Role::after, vycam::PixelKind::colours, 1, 1, {}, nullptr, pixels, 3}};
  return frame;
}

TEST(ViewMessagesTest, BytesOfAFrame) {
  const std::vector<uint8_t> head = {'V',  'Y',  'F', '1', 5,    0,    2,    0,    4,    3,    2,    1,
                                     0xFE, 0xCA, 0,   0,   0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11};
  const std::vector<uint8_t> before = {0, 1, 0,    0,    3, 0, 0, 0,    1, 0, 0, 0,    6, 0, 0, 0,   // role to size
                                       0, 0, 0x80, 0x3F, 0, 0, 0, 0x40, 0, 0, 0, 0x3F, 0, 0, 0, 0};  // 1, 2, 0.5, 0
  const std::vector<uint8_t> after = {1, 3, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 3, 0, 0, 0,
                                      0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  std::vector<uint8_t> whole = head;
  for (const auto& part : {before, after, {1, 2, 3, 4, 5, 6, 0, 0}, {1, 2, 3, 0}}) {
    whole.insert(whole.end(), part.begin(), part.end());
  }
  const std::shared_ptr<LiveFrame> frame = makeFrame(5, 1);
  for (const size_t most : {1U, 7U, 1000U}) {
    vycam::FrameMessage message(frame, bitOf(Role::before) | bitOf(Role::after) | bitOf(Role::truth), 0xCAFE);
    EXPECT_EQ(message.size(), whole.size());
    std::vector<uint8_t> bytes(whole.size());
    size_t done = 0;
    while (const size_t read = message.read(&bytes[done], std::min(most, bytes.size() - done))) done += read;
    EXPECT_EQ(bytes, whole) << most << " bytes at a time";
  }
  vycam::FrameMessage one(frame, bitOf(Role::after), 0);
  EXPECT_EQ(one.size(), 24U + 32U + 4U) << "only the plane that is wanted";
}

/// What the outbox sends next, in pieces of so many bytes: "text" or "stream:number of planes:dropped".
std::string nextOf(Outbox& outbox, size_t most = 10) {
  std::vector<uint8_t> bytes(most), whole;
  for (std::optional<Outbox::Piece> piece = outbox.next(bytes.data(), most); piece;
       piece = outbox.next(bytes.data(), most)) {
    EXPECT_EQ(piece->isFirst, whole.empty());
    whole.insert(whole.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(piece->size));
    if (!piece->isLast) continue;
    if (piece->isText) return std::string(whole.begin(), whole.end());
    return std::to_string(whole[4]) + ":" + std::to_string(whole[6]) + ":" + std::to_string(whole[12]);
  }
  return "nothing";
}

TEST(ViewMessagesTest, NewestFramesWaitAndOlderOnesAreCounted) {
  Outbox outbox;
  outbox.offer(makeFrame(0, 1));
  EXPECT_TRUE(outbox.isEmpty()) << "nobody watches";
  outbox.watch({{1, bitOf(Role::after)}, {6, bitOf(Role::after)}});
  for (const uint16_t stream : {uint16_t{6}, uint16_t{1}}) outbox.offer(makeFrame(stream, 1));
  EXPECT_EQ(nextOf(outbox), "1:1:0");
  EXPECT_EQ(nextOf(outbox), "6:1:0");
  outbox.watch({{0, bitOf(Role::after)}, {2, bitOf(Role::after) | bitOf(Role::before)}, {3, bitOf(Role::truth)}});
  outbox.offer(makeFrame(3, 1));
  EXPECT_TRUE(outbox.isEmpty()) << "a plane that the frame does not have";
  outbox.offer(makeFrame(0, 4));
  outbox.offer(makeFrame(0, 4));
  EXPECT_EQ(nextOf(outbox), "0:1:0") << "what came before the first is not dropped, and no frame comes twice";
  outbox.offer(makeFrame(0, 4));
  EXPECT_EQ(nextOf(outbox), "nothing");
  outbox.offer(makeFrame(0, 5));
  outbox.offer(makeFrame(0, 8));  // 6 and 7 were never offered
  outbox.offer(makeFrame(2, 1));
  outbox.push("a text longer than a piece");
  EXPECT_EQ(nextOf(outbox), "a text longer than a piece");
  EXPECT_EQ(nextOf(outbox), "2:2:0") << "streams take turns";
  EXPECT_EQ(nextOf(outbox), "0:1:3");
  EXPECT_EQ(outbox.droppedOf(0), 3U);
  outbox.offer(makeFrame(2, 2));
  EXPECT_EQ(nextOf(outbox), "2:2:0");
  outbox.offer(makeFrame(0, 9));
  outbox.offer(makeFrame(2, 3));
  EXPECT_EQ(nextOf(outbox), "0:1:3") << "it is not always the turn of the same";
  EXPECT_EQ(nextOf(outbox), "2:2:0");
  EXPECT_EQ(outbox.droppedOf(7), 0U) << "nobody watches it";

  uint8_t byte = 0;
  outbox.offer(makeFrame(0, 10));
  EXPECT_TRUE(outbox.next(&byte, 1)->isFirst);
  outbox.push("next");
  outbox.offer(makeFrame(0, 11));
  outbox.watch({{0, bitOf(Role::before)}});
  size_t rest = 0;
  std::optional<Outbox::Piece> piece;
  while (piece = outbox.next(&byte, 1), !piece->isLast) rest += piece->isText ? 1000 : 1;
  EXPECT_EQ(rest, 24U + 32U + 4U - 2U) << "a frame that was begun is ended as it was";
  EXPECT_EQ(nextOf(outbox), "next");
  EXPECT_EQ(nextOf(outbox), "0:1:3");
  outbox.watch({{0, bitOf(Role::truth)}});
  outbox.offer(makeFrame(0, 90));
  outbox.watch({{0, bitOf(Role::after)}});
  outbox.offer(makeFrame(0, 91));
  EXPECT_EQ(nextOf(outbox), "0:1:3") << "frames without what the client wanted are not dropped";
  outbox.offer(makeFrame(0, 92));
  outbox.watch({{0, bitOf(Role::truth)}});
  EXPECT_EQ(nextOf(outbox), "nothing") << "what waited shows nothing that the client wants now";
  outbox.watch({{0, bitOf(Role::after)}});
  outbox.offer(makeFrame(0, 93));
  outbox.watch({});
  EXPECT_TRUE(outbox.isEmpty());
}

TEST(ViewAccessTest, OnlyWhoKnowsTheAddressComesIn) {
  const std::pair<const char*, bool> hosts[] = {{"127.0.0.1:8080", true},       {"localhost:8080", true},
                                                {"127.0.0.1", false},           {"127.0.0.1:80800", false},
                                                {"127.0.0.1:808", false},       {"evil.example:8080", false},
                                                {"localhost.evil:8080", false}, {"127.0.0.1:8080.evil", false},
                                                {"[::1]:8080", false},          {"", false}};
  for (const auto& [host, isAllowed] : hosts) {
    EXPECT_EQ(vycam::isAllowedHost(host, 8080), isAllowed) << host;
    EXPECT_EQ(vycam::isAllowedOrigin(std::string("http://") + host, 8080), isAllowed) << host;
    EXPECT_FALSE(vycam::isAllowedOrigin(std::string("https://") + host, 8080)) << host;
    EXPECT_FALSE(vycam::isAllowedOrigin(host, 8080)) << host;
  }
  EXPECT_TRUE(vycam::isAllowedHost("localhost", 80)) << "browsers leave this port out";
  const std::string token = vycam::makeToken();
  EXPECT_EQ(token.size(), 32U);
  EXPECT_EQ(token.find_first_not_of("0123456789abcdef"), std::string::npos) << token;
  EXPECT_NE(token, vycam::makeToken());
  EXPECT_EQ(vycam::pathBehindToken("/abc/", "abc"), "");
  EXPECT_EQ(vycam::pathBehindToken("/abc/x/y", "abc"), "x/y");
  for (const char* const path : {"", "/", "/abc", "abc/", "/abd/", "/ab/", "/abcd/", "//abc/", "/ABC/"}) {
    EXPECT_EQ(vycam::pathBehindToken(path, "abc"), std::nullopt) << path;
  }
  EXPECT_TRUE(vycam::findPageFile("index.html") != nullptr && vycam::findPageFile("index") == nullptr);
}

}  // namespace
