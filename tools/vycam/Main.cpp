// vycam: shows what the frame processor library does with the frames of a virtual camera.
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <new>
#include <system_error>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Signals.h"
#include "Terminal.h"

namespace {

constexpr int kExitFailure = 2;
constexpr unsigned kMostFrames = 100000;
constexpr int kLargestPort = 65535;

/// For options whose text would be taken for left out where it is empty.
const CLI::Validator kNotEmpty([](const std::string& text) { return std::string(text.empty() ? "is empty" : ""); }, "");

constexpr const char* kSensorHelp = "depth, color (or colour), ir, ir-left, ir-right, 9; or the sensor type's number";

void addStreamOptions(CLI::App& command, std::string& camera, std::string& sensor) {
  command.add_option("--camera", camera, "camera family, as `vycam families` names it")
      ->required()
      ->type_name("FAMILY");
  command.add_option("--sensor", sensor, kSensorHelp)->required()->type_name("SENSOR");
}

void addDepth(CLI::App& command, std::string& file) {
  command
      .add_option("--depth", file,
                  "16-bit grey PNG in millimetres (0 = nothing) to see instead of the embedded room; the stream takes "
                  "its size")
      ->check(kNotEmpty)
      ->type_name("FILE.png");
}

CLI::App* addFamilies(CLI::App& app, std::string& which, bool& asCsv) {
  CLI::App* const command =
      app.add_subcommand("families", "List the camera families, how each is recognised, its streams and their chains");
  command->add_option("FAMILY", which, "only this family, by its name or the USB id of one of its cameras")
      ->check(kNotEmpty);
  command->add_flag("--csv", asCsv, "for machines: a heading, then one line for each filter of each chain");
  command->footer("Examples:\n  vycam families 3E71:41A1\n  vycam families --csv > families.csv");
  return command;
}

CLI::App* addSchema(CLI::App& app, std::string& camera, std::string& sensor, bool& raw) {
  CLI::App* const command = app.add_subcommand("schema", "Show the settings that the chain of one sensor publishes");
  addStreamOptions(*command, camera, sensor);
  command->add_flag("--raw", raw, "the library's text as it stands: seven columns, no headings");
  command->footer("Example:\n  vycam schema --camera Corvid --sensor depth");
  return command;
}

CLI::App* addRun(CLI::App& app, vycam::RunArguments& arguments) {
  CLI::App* const command =
      app.add_subcommand("run", "Send frames of a virtual camera through its chain and write pictures and figures");
  addStreamOptions(*command, arguments.camera, arguments.sensor);
  command->add_option("--out", arguments.outputFolder, "folder for the pictures; made if missing")
      ->required()
      ->type_name("DIR");
  command
      ->add_option("--frames", arguments.frames,
                   fmt::format("how many frames to stream, 1 to {}; without it 30, or all of --replay", kMostFrames))
      ->check(CLI::Range(1U, kMostFrames).description(""))
      ->type_name("N");
  addDepth(*command, arguments.depthFile);
  command->add_option("--size", arguments.size, "size of the stream instead of the camera's own (or the PNG's)")
      ->check(kNotEmpty)
      ->type_name("WxH");
  command->add_flag("--clean", arguments.clean, "a perfect sensor: no noise, no speckles, no holes");
  command
      ->add_option("--set", arguments.settings,
                   "a setting from `vycam schema`, checked against its keys; may be repeated. All other settings keep "
                   "the value that the schema shows, which is 0 for every boolean item that is not a switch")
      ->type_name("FILTER#ITEM=VALUE")
      ->allow_extra_args(false);
  command
      ->add_option("--d2c", arguments.hardwareD2C,
                   "switch depth-to-colour alignment on: scale=F,left=N,top=N,right=N,bottom=N,apply=0|1 (borders in "
                   "output pixels, negative ones cut; apply=0 keeps the size where it can). Depth only; what is left "
                   "out is scale=1, borders 0, apply=1")
      ->check(kNotEmpty)
      ->type_name("LIST");
  command
      ->add_option("--replay", arguments.replayFolder,
                   "take the frames that --raw wrote into this folder instead of new ones; they are compared with the "
                   "truth if they show the embedded room, or the image given by --depth")
      ->check(kNotEmpty)
      ->type_name("DIR");
  command
      ->add_option_function<std::string>(
          "--keep", [&](const std::string& which) { arguments.keepsAll = which == "all"; },
          "all: the files of each frame, too, in frames/; all pictures have the scales of the first")
      ->check(CLI::IsMember({"all", "last"}).description(""))
      ->type_name("all|last");
  command->add_flag("--ply", arguments.writesCloud, "also cloud.ply, the output's points in space, in millimetres");
  command->add_flag("--raw", arguments.writesRaw,
                    "also raw/ with every frame as the camera sent it, and frames.json, which tells what is in them");
  command->add_flag("--json", arguments.asJson, "for machines: the summary as one JSON object");
  command->footer(
      "Writes raw.png (as the camera sent it) and output.png, for depth also truth.png (same scale as the output), "
      "error.png (their difference) and output16.png (16-bit grey, the numbers of the output), all of the last frame.\n"
      "Ctrl-C ends the run with the frames it has.\n"
      "Example:\n  vycam run --camera Corvid --sensor depth --set FrameRotate#0=90 --out pictures");
  return command;
}

CLI::App* addView(CLI::App& app, vycam::ViewArguments& arguments) {
  CLI::App* const command =
      app.add_subcommand("view", "Show virtual cameras live in the browser, with a control for each setting");
  command
      ->add_option("--camera", arguments.cameras,
                   "camera family and sensors, as in Corvid:depth,ir; may be repeated. Without sensors depth and "
                   "colour; without --camera a Corvid")
      ->type_name("FAMILY[:SENSOR,...]")
      ->allow_extra_args(false);
  command->add_option("--port", arguments.port, "port of the loopback address; 0 takes a free one")
      ->check(CLI::Range(0, kLargestPort))
      ->capture_default_str()
      ->type_name("N");
  command
      ->add_option("--depth", arguments.depthFile,
                   "16-bit grey PNG in millimetres (0 = nothing) to see instead of the embedded room; all streams take "
                   "its size")
      ->check(kNotEmpty)
      ->type_name("FILE.png");
  command->add_option("--size", arguments.size, "size of all streams instead of the cameras' own (or the PNG's)")
      ->check(kNotEmpty)
      ->type_name("WxH");
  command->add_flag("--clean", arguments.clean, "perfect sensors: no noise, no speckles, no holes");
  command->add_flag("--open", arguments.opensBrowser, "open the address in the browser (xdg-open)");
  command->footer(
      "Prints the address of the page, which only programs on this machine that know it can reach, and runs until\n"
      "Ctrl-C.\n"
      "Example:\n  vycam view --camera Corvid:depth,color,ir --camera Talon --open");
  return command;
}

CLI::App* addGallery(CLI::App& app, std::string& outputFolder, std::string& depthFile) {
  CLI::App* const command =
      app.add_subcommand("gallery", "Write a page with every family and sensor: chain, settings, before and after");
  command->add_option("--out", outputFolder, "folder for index.html and images/; made if missing")
      ->required()
      ->type_name("DIR");
  addDepth(*command, depthFile);
  command->footer("Example:\n  vycam gallery --out gallery");
  return command;
}

int fail(const std::string& text) {
  if (vycam::takenSignal() != SIGPIPE) {  // nobody is surprised who closed the pipe
    std::fputs(fmt::format("vycam: {}\n", text).c_str(), stderr);
  }
  return kExitFailure;
}

/// The exit code of a command that is done, once all that it printed is out.
int finish() {
  vycam::flushOutput();
  return 0;
}

/// Parses the command line, then hands the library to the chosen command.
int runCommand(int argc, char** argv) {
  CLI::App app("Shows what libvy_frame_processor does with the frames of virtual depth cameras.", "vycam");
  app.footer(
      "Exit code 0: done; 2: something was wrong, told in one line on stderr, and no file was left behind; 128 and the "
      "signal's number: ended by a signal, where run leaves the files of the frames it has and gallery none.\n"
      "Example:\n  vycam run --camera Corvid --sensor depth --out pictures\n"
      "`vycam COMMAND --help` tells more about a command.");
  app.require_subcommand(0, 1);
  app.fallthrough();  // options of the program may stand behind the command as well
  std::string libraryPath;
  std::string family;
  std::string camera;
  std::string sensor;
  std::string galleryFolder;
  std::string galleryDepth;
  bool asCsv = false;
  bool raw = false;
  vycam::RunArguments arguments;
  app.add_option("--library", libraryPath, "the library to load instead of the one beside this program")
      ->check(kNotEmpty)
      ->type_name("PATH");
  app.set_version_flag("--version", VYCAM_VERSION, "print the versions of this program and of the library");
  const CLI::App* const families = addFamilies(app, family, asCsv);
  const CLI::App* const schema = addSchema(app, camera, sensor, raw);
  const CLI::App* const run = addRun(app, arguments);
  vycam::ViewArguments viewArguments;
  const CLI::App* const view = addView(app, viewArguments);
  addGallery(app, galleryFolder, galleryDepth);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    fmt::print("{}", vycam::helpText(app, vycam::terminalWidth(STDOUT_FILENO)));
    return finish();
  } catch (const CLI::CallForVersion& error) {
    if (!app.remaining(true).empty()) {
      return fail(vycam::complaint(app, error));
    }
    fmt::print("vycam {}, library revision {}\n", VYCAM_VERSION, vycam::Library(libraryPath)->getCommitHash());
    return finish();
  } catch (const CLI::ParseError& error) {
    return fail(vycam::complaint(app, error));
  }
  if (app.get_subcommands().empty()) {
    return fail("a command is required: families, schema, run, view or gallery (vycam --help tells more)");
  }
  const vycam::Library library(libraryPath);
  if (families->parsed()) {
    vycam::showFamilies(library, family, asCsv);
  } else if (schema->parsed()) {
    vycam::showSchema(library, camera, sensor, raw);
  } else if (run->parsed()) {
    vycam::run(library, arguments);
  } else if (view->parsed()) {
    vycam::view(library, viewArguments);
  } else {
    vycam::makeGallery(library, galleryFolder, galleryDepth);
  }
  return finish();
}

}  // namespace

int main(int argc, char** argv) {
  vycam::takeSignals();
  int exitCode = 0;
  try {
    exitCode = runCommand(argc, argv);
  } catch (const std::bad_alloc&) {
    exitCode = fail("not enough memory");
  } catch (const std::system_error& error) {
    exitCode =
        fail(std::ferror(stdout) == 0 ? error.what()
                                      : fmt::format("cannot write to the standard output: {}", error.code().message()));
  } catch (const std::exception& error) {
    exitCode = fail(error.what());
  }
  if (vycam::takenSignal() != 0) {
    vycam::endBy(vycam::takenSignal());
  }
  return exitCode;
}
