// What is written where writing fails: what was wrong is told, and nothing is left behind.
#include "OutputFolder.h"

#include <functional>
#include <regex>

#include "vycam/VycamTest.h"

namespace {

namespace fs = std::filesystem;

using OutputTest = VycamTest;

TEST_F(OutputTest, SignalsEndWhatTheyFind) {
  signal(SIGHUP, SIG_DFL);  // a shell under nohup ignores it, and cannot take that back for what it starts
  const std::string many =
      "run --camera Vashti --sensor depth --size 64x48 --frames 100000 --keep all --out made/deeper ";
  const auto once = [](const std::string& file, const std::string& signal) {
    return "& until ls made" + file + " >/dev/null 2>&1; do sleep 0.02; done; kill -" + signal + " $!; wait $!";
  };
  const struct {
    std::string arguments;
    int exitCode;
    const char* out;  // its beginning
    const char* err;
    size_t files;
  } cases[] = {
      {many + once("/deeper/.vycam-*/frames/00001-raw.png", "TERM"), 143,
       "Vashti depth, [0-9]+ of 100000 frames\n  in   ", "", 8},
      {many + once("/deeper/.vycam-*/frames/00001-raw.png", "HUP"), 129,
       "Vashti depth, [0-9]+ of 100000 frames\n  in   ", "", 8},
      {"gallery --out made " + once("/.vycam-*/images", "TERM"), 143, "",
       "vycam: ended by a signal; nothing was written", 0},
      {"run --camera Vashti --sensor depth --frames 1 --size 64x48 --out made | true", 0, "", "", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    const Outcome outcome = vycam(c.arguments);
    EXPECT_EQ(outcome.exitCode, c.exitCode);
    EXPECT_TRUE(std::regex_search(outcome.out, std::regex(c.out), std::regex_constants::match_continuous))
        << outcome.out;
    const std::string said = outcome.err.substr(std::min(outcome.err.find("vycam: "), outcome.err.size()));
    EXPECT_EQ(said.substr(0, said.find('\n')), c.err);  // the shell may add what the signal was
    std::set<std::string> left = files();
    for (const std::string& name : files()) {
      if (name.find("/frames/") != std::string::npos) left.erase(name);
    }
    EXPECT_EQ(left.size(), c.files) << *left.begin();
    fs::remove_all(folder_ / "made");
  }
}

TEST_F(OutputTest, AFolderReceivesAllFilesOrNone) {
  const auto in = [&](const std::string& name, const auto& use) {
    return refusal([&] {
      vycam::OutputFolder folder(path(name));
      use(folder);
    });
  };
  const auto writeTwo = [](vycam::OutputFolder& folder) {
    folder.write("images/a.png", "first");
    folder.write("index.html", "second");
  };
  const auto loseTheSecond = [](vycam::OutputFolder& folder) {
    folder.prepare();
    for (const auto& entry : fs::directory_iterator(folder.path())) {
      if (entry.path().filename().string()[0] == '.') fs::remove(entry.path() / "index.html");
    }
    folder.commit();
  };
  fs::create_directories(path("had/index.html"));
  const std::set<std::string> before = files();
  EXPECT_EQ(in("new/deeper", writeTwo), "accepted");
  EXPECT_EQ(files(), before) << "nothing was committed";
  const struct {
    const char* what;
    std::string folder, said;
    std::function<void(vycam::OutputFolder&)> use;
  } cases[] = {
      {"prepared only", "new/deeper", "accepted", [](auto& folder) { folder.prepare(); }},
      {"a folder in a file's way", "had", "had/index.html: something else of that name",
       [](auto& folder) { folder.prepare(); }},
      {"a file in a folder's way", "new", "cannot write into", [](auto& folder) { folder.write("index.html/a", ""); }},
      {"a file over a folder", "new", "Is a directory", [](auto& folder) { folder.write("images", ""); }},
      {"a lost file", "new", "index.html: No such file", loseTheSecond},
  };
  for (const auto& c : cases) {
    expectParts(in(c.folder,
                   [&](vycam::OutputFolder& folder) {
                     writeTwo(folder);
                     c.use(folder);
                   }),
                {c.said});
    EXPECT_EQ(files(), before) << c.what;
  }

  // Twice: the second time over the files of the first.
  for (const char* text : {"once", "twice"}) {
    const auto writeAll = [&](vycam::OutputFolder& folder) {
      folder.write("images/a.png", text);
      folder.write("index.html", text);
      EXPECT_EQ(folder.names(), (std::vector<std::string>{"images/a.png", "index.html"}));
      folder.prepare();
      folder.commit();
    };
    EXPECT_EQ(in("new/deeper", writeAll), "accepted");
    EXPECT_EQ(contentsOf(path("new/deeper/images/a.png")) + contentsOf(path("new/deeper/index.html")),
              std::string(text) + text);
  }
  // The third time fails and leaves the files of the second.
  expectParts(in("new/deeper",
                 [&](vycam::OutputFolder& folder) {
                   writeTwo(folder);
                   loseTheSecond(folder);
                 }),
              {"index.html: No such file"});
  EXPECT_EQ(contentsOf(path("new/deeper/images/a.png")) + contentsOf(path("new/deeper/index.html")), "twicetwice");
  std::set<std::string> expected = before;
  for (const char* name : {"", "/deeper", "/deeper/images", "/deeper/images/a.png", "/deeper/index.html"}) {
    expected.insert(std::string("new") + name);
  }
  EXPECT_EQ(files(), expected);
}

}  // namespace
