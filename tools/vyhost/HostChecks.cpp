#include "HostChecks.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>

#include "CommaLocale.h"
#include "Failure.h"

namespace vyhost {
namespace {

using Body = std::function<void(const HostUnderTest& host)>;

/// Runs checks one after the other and collects what they find.
class Runner {
 public:
  Runner(const std::string& path, std::chrono::milliseconds limit, const std::string& only)
      : path_(path), limit_(limit), only_(only) {}

  bool isWanted(std::string_view check) const { return only_.empty() || only_ == check; }

  void run(std::string_view check, std::string_view tried, std::string subject, Verdict ifDead, const Body& body) {
    if (!isWanted(check)) return;
    const Outcome outcome = runInChild(limit_, [this, &body](Trial& trial) {
      try {
        body(HostUnderTest(trial, path_));
      } catch (const Broken& broken) {
        trial.fail(broken.what());
      } catch (const NotTried& reason) {
        trial.skip(reason.what());
      }
    });
    std::string okText(tried);
    bool isOk = outcome.abruptEnd.empty();
    for (const Outcome::Message& each : outcome.messages) {
      if (each.verdict == Verdict::ok) {
        okText += ": " + each.text;
      } else {
        isOk = false;
        report_.findings.push_back({each.verdict, check, subject, each.text});
      }
    }
    if (!outcome.abruptEnd.empty()) report_.findings.push_back({ifDead, check, subject, outcome.abruptEnd});
    if (isOk) report_.findings.push_back({Verdict::ok, check, std::move(subject), okText});
  }

  CheckReport take() { return std::move(report_); }

 private:
  std::string path_;
  std::chrono::milliseconds limit_;
  std::string only_;
  CheckReport report_;
};

/// Throws Failure unless the library can be loaded and has something of a host.
void tryToLoad(const std::string& path, std::chrono::milliseconds limit) {
  const Outcome outcome = runInChild(limit, [&path](Trial& trial) {
    try {
      const HostUnderTest host(trial, path);
      const bool isHost = host.vy_create_filter.isThere() || host.vy_create_error.isThere();
      if (!isHost) trial.fail("it has neither vy_create_filter nor vy_create_error, so it is no host's library");
      if (host.hasItself("vy_create_frame_processor")) trial.fail("it is the frame processing library, not its host");
    } catch (const Broken& loaderReason) {
      trial.fail(loaderReason.what());
    }
  });
  std::string reason = outcome.abruptEnd;
  for (const Outcome::Message& each : outcome.messages) reason = each.text;
  if (!reason.empty()) {
    throw Failure(
        fmt::format("cannot load {}: {}; give the libTavrixSDK.so of a host, made for this machine", path, reason));
  }
}

void runBadCall(const HostUnderTest& host, const BadCall& bad) {
  if (!bad.run(host).isSet) host.trial.warn("there is no error");
}

}  // namespace

vy_filter_t* makeFilter(const HostUnderTest& host, const KnownFilter& known) {
  const auto& create = known.isPrivate ? host.vy_create_private_filter : host.vy_create_filter;
  const auto answer = host.ask(create, known.name);
  if (answer.error.isSet || answer.result == nullptr) throw NotTried(fmt::format("the host makes no {}", known.name));
  return answer.result;
}

vy_filter_t* makeFilter(const HostUnderTest& host, std::string_view name) {
  return makeFilter(host, *findKnownFilter(name));
}

void configure(const HostUnderTest& host, vy_filter_t* filter, std::vector<const char*> arguments) {
  host.must(host.vy_filter_update_config, filter, static_cast<std::uint8_t>(arguments.size()), arguments.data());
}

CheckReport checkHost(const std::string& path, std::chrono::milliseconds limit, const std::string& only) {
  // A name without a folder would be looked for where the system keeps its libraries.
  const std::string absolute = std::filesystem::absolute(path).string();
  tryToLoad(absolute, limit);

  Runner runner(absolute, limit, only);
  std::optional<CommaLocale> locale;
  if (runner.isWanted(kCommaLocaleCheck)) locale.emplace();
  const auto runAll = [&runner](const std::vector<HostCheck>& checks) {
    for (const HostCheck& check : checks) runner.run(check.name, check.tried, {}, check.ifDead, check.run);
  };
  runAll(kErrorChecks);
  for (const FilterCheck& check : kFilterChecks) {
    for (const KnownFilter& filter : knownFilters()) {
      if (!check.applies(filter)) continue;
      runner.run(check.name, check.tried, filter.name, check.ifDead,
                 [&](const HostUnderTest& host) { check.run(host, filter); });
    }
  }
  runAll(kUseChecks);
  for (const BadCall& bad : kBadCalls) {
    runner.run("bad arguments", "the call ends in an error", std::string(bad.call), bad.ifDead,
               [&bad](const HostUnderTest& host) { runBadCall(host, bad); });
  }
  CheckReport report = runner.take();
  if (report.findings.empty()) throw Failure(fmt::format("there is no check \"{}\"; the report names them all", only));
  return report;
}

}  // namespace vyhost
