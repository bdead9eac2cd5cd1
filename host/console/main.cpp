// draxel: the headless CAD host on the command line.
//
//   draxel plan.dxf -s tidy.scr -o plan-tidy.dxf    run a script on a drawing and save it
//   draxel plan.dxf -c "ERASE ALL \"\"" -o out.dxf  run a one-liner
//   draxel plan.dxf                                 the interactive command line
#include <strings.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>

#include "host/app/app.h"
#include "host/console/readline_source.h"
#include "host/console/report.h"
#include "host/editor/core/driver.h"
#include "host/editor/core/session.h"
#include "host/plot/plot.h"

namespace {

bool parseVersion(const std::string& v, DxDbDwgVersion& out) {
  static const std::map<std::string, DxDbDwgVersion> m = {
      {"AC1014", DxDb::kDHL_1014}, {"AC1015", DxDb::kDHL_1015}, {"AC1018", DxDb::kDHL_1018},
      {"AC1021", DxDb::kDHL_1021}, {"AC1024", DxDb::kDHL_1024}, {"AC1027", DxDb::kDHL_1027},
      {"AC1032", DxDb::kDHL_1032}};
  auto it = m.find(v);
  if (it == m.end()) return false;
  out = it->second;
  return true;
}

std::string hex(int32_t v) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%X", unsigned(v));
  return buf;
}

// A script from standard input; false on a line too long to be one (endless input
// without a line end, such as /dev/zero).
bool readAll(std::istream& in, std::string& text) {
  constexpr size_t kLongestLine = 1 << 20;
  size_t lineStart = 0;
  char buf[65536];
  while (in.read(buf, sizeof buf) || in.gcount() > 0) {
    std::string_view chunk(buf, size_t(in.gcount()));
    text.append(chunk);
    if (size_t nl = chunk.rfind('\n'); nl != std::string_view::npos) lineStart = text.size() - chunk.size() + nl + 1;
    if (text.size() - lineStart > kLongestLine) return false;
  }
  if (!text.empty() && text.back() != '\n') text += '\n';
  return true;
}

// What the command line asks for.
struct Args {
  std::string drawing, outPath, version;
  bool report = false, listCommands = false, recover = false;
  std::vector<std::string> scripts, commands, modules, plots;
  DxDbDwgVersion saveVersion = DxDb::kDHL_1032;
  dx::plot::Options plot;
  // Scripts (true) and one-liners (false) in the order they were given.
  std::vector<bool> sourceOrder;
};

// Reads the options; returns an exit status when the program should stop now.
std::optional<int> parseArgs(int argc, char** argv, Args& a) {
  CLI::App app{"draxel: opens a drawing (DXF, ASCII or binary, R12 to R2018), runs commands from\n"
               "scripts, one-liners or the interactive command line, and saves it.",
               "draxel"};
  app.add_option("drawing", a.drawing, "drawing to open (a new drawing when absent)");
  auto* scriptOpt = app.add_option("-s,--script", a.scripts, "run a script file (\"-\": standard input)");
  auto* commandOpt = app.add_option("-c,--command", a.commands, "run a line of commands and answers");
  app.add_option("-o,--output", a.outPath, "save the drawing to FILE at the end");
  app.add_option("--version", a.version,
                 "file version to save: AC1014, AC1015, AC1018, AC1021, AC1024, AC1027 or AC1032\n"
                 "(default: the version the drawing was read in; AC1032 for new and R12 drawings)");
  app.add_flag("--report", a.report, "print what the drawing holds at the end");
  app.add_flag("--recover", a.recover,
               "read a damaged drawing: skip what cannot be read, repair the rest, say what was fixed");
  app.add_flag("--list-commands", a.listCommands,
               "print every registered command: group, global name, local name, flags");
  app.add_option("--load", a.modules, "load a module (.drx) before running");
  std::string plotSize, plotWindow, background = "white";
  app.add_option("--plot", a.plots,
                 "after the scripts, plot to FILE (.png, .svg or .pdf by its extension; repeatable)");
  app.add_option("--layout", a.plot.layout, "layout to plot (default: model space)");
  app.add_option("--size", plotSize, "plot size WxH, pixels for PNG, points for SVG/PDF (default 1600x1200)");
  app.add_option("--window", plotWindow, "area to plot x1,y1,x2,y2 (default: the drawing's extents)");
  app.add_option("--background", background, "plot background: white or black (default white)")
      ->check(CLI::IsMember({"white", "black"}, CLI::ignore_case));
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    std::cout << app.help();
    return 0;
  } catch (const CLI::ParseError& e) {
    std::fprintf(stderr, "draxel: %s (see draxel --help)\n", e.what());
    return 2;
  }
  if (!a.version.empty() && !parseVersion(a.version, a.saveVersion)) {
    std::fprintf(stderr, "draxel: unknown file version '%s'\n", a.version.c_str());
    return 2;
  }
  if (!plotSize.empty() && !dx::plot::parseSize(plotSize, a.plot.width, a.plot.height)) {
    std::fprintf(stderr, "draxel: --size wants WxH, for example 1600x1200 (got '%s')\n", plotSize.c_str());
    return 2;
  }
  if (!plotWindow.empty()) {
    if (!dx::plot::parseWindow(plotWindow, a.plot.window)) {
      std::fprintf(stderr, "draxel: --window wants x1,y1,x2,y2 with two different corners (got '%s')\n",
                   plotWindow.c_str());
      return 2;
    }
    a.plot.hasWindow = true;
  }
  a.plot.blackBackground = strcasecmp(background.c_str(), "black") == 0;
  for (CLI::Option* opt : app.parse_order())
    if (opt == scriptOpt || opt == commandOpt) a.sourceOrder.push_back(opt == scriptOpt);
  return std::nullopt;
}

// Opens the drawing in place of the blank one the session starts with, and loads the
// modules (express.drx beside the program first, unless --load names one).
bool openAndLoad(Args& a) {
  using namespace dx::ed;
  Session& s = Session::get();
  s.init();
  if (!a.drawing.empty()) {
    std::string err;
    Document* doc = s.openDocument(a.drawing, err, a.recover);
    if (!doc) {
      std::fprintf(stderr, "draxel: %s\n", err.c_str());
      return false;
    }
    if (a.version.empty()) parseVersion(doc->database()->originalFileVersion(), a.saveVersion);
    Document* blank = s.current();
    s.setCurrent(doc);
    s.closeDocument(blank);
  }
  dx::app::registerAppCommands();
  bool expressGiven = false;
  for (auto& m : a.modules) expressGiven |= std::filesystem::path(m).filename() == "express.drx";
  std::string besideUs = dx::app::programFolder() + "express.drx";
  if (!expressGiven && std::filesystem::is_regular_file(besideUs)) a.modules.insert(a.modules.begin(), besideUs);
  for (auto& m : a.modules) {
    std::string err;
    if (!dx::app::ModuleHost::get().load(m, err)) {
      std::fprintf(stderr, "draxel: %s\n", err.c_str());
      return false;
    }
  }
  return true;
}

// The scripts and one-liners as input sources, in the order given; false with a message
// when a script cannot be read.
bool inputSources(const Args& a, std::vector<std::unique_ptr<dx::ed::InputSource>>& sources) {
  using namespace dx::ed;
  size_t si = 0, ci = 0;
  for (bool isScript : a.sourceOrder) {
    if (!isScript) {
      if (ci < a.commands.size()) sources.push_back(std::make_unique<TextSource>(a.commands[ci++], "-c"));
      continue;
    }
    if (si >= a.scripts.size()) continue;
    const std::string& path = a.scripts[si++];
    if (path == "-") {
      std::string text;
      if (!readAll(std::cin, text)) {
        std::fprintf(stderr, "draxel: the script on standard input has a line longer than 1 MiB\n");
        return false;
      }
      sources.push_back(std::make_unique<TextSource>(std::move(text), "stdin"));
      continue;
    }
    std::string err;
    auto src = openScript(path, err);
    if (!src) {
      std::fprintf(stderr, "draxel: %s\n", err.c_str());
      return false;
    }
    sources.push_back(std::move(src));
  }
  return true;
}

// After the scripts: the report, the plots and the save; the exit status.
int finish(const Args& a) {
  int rc = 0;
  dx::ed::Document* doc = dx::ed::Session::get().current();
  if (a.report && doc) std::fputs(dx::console::drawingReport(doc->database(), doc->fileName()).c_str(), stdout);
  for (const std::string& plotPath : a.plots) {
    std::string err;
    if (!doc) {
      std::fprintf(stderr, "draxel: no drawing to plot\n");
      rc = 1;
    } else if (!dx::plot::plotToFile(doc->database(), plotPath, a.plot, err)) {
      std::fprintf(stderr, "draxel: %s\n", err.c_str());
      rc = 1;
    }
  }
  if (a.outPath.empty()) return rc;
  if (!doc) {
    std::fprintf(stderr, "draxel: no drawing to save\n");
    return 1;
  }
  dx::app::ModuleHost::get().drawingSaving(doc);
  if (doc->database()->saveAs(a.outPath.c_str(), a.saveVersion) != Dxad::eOk) {
    std::fprintf(stderr, "draxel: cannot save '%s': %s\n", a.outPath.c_str(), doc->database()->lastError().c_str());
    return 1;
  }
  return rc;
}

// Drawings and the session live to the end of the process (modules may still hold
// references into them): the program leaves without tearing them down.
[[noreturn]] void leave(int rc) {
  std::fflush(stdout);
  std::fflush(stderr);
  std::_Exit(rc);
}

}  // namespace

int main(int argc, char** argv) {
  Args a;
  if (auto rc = parseArgs(argc, argv, a)) return *rc;
  if (!openAndLoad(a)) return 1;
  if (a.listCommands) {
    for (const DxEdCommand* c : dxedRegCmds()->commands())
      std::printf("%s %s %s %s\n", c->group.c_str(), c->globalName.c_str(), c->localName.c_str(),
                  hex(c->flags).c_str());
    leave(0);
  }
  std::vector<std::unique_ptr<dx::ed::InputSource>> sources;
  if (!inputSources(a, sources)) return 1;
  // Without scripts: the keyboard when there is one, else nothing more to do.
  bool interactive = sources.empty() && a.outPath.empty() && a.plots.empty() && !a.report && isatty(0);
  dx::ed::Driver driver;
  for (auto it = sources.rbegin(); it != sources.rend(); ++it) driver.push(std::move(*it));
  if (interactive) {
    dx::ed::Session::get().scripted = false;
    driver.push(dx::console::makeReadlineSource());
  }
  int status = driver.run();
  dx::ed::output().endLine();
  std::fflush(stdout);
  if (status != 0) {
    std::fprintf(stderr, "draxel: stopped: %s%s\n", driver.failure().c_str(),
                 a.outPath.empty() ? "" : ("; " + a.outPath + " was not written").c_str());
    dx::app::ModuleHost::get().shutdown();
    leave(1);
  }
  int rc = finish(a);
  dx::app::ModuleHost::get().shutdown();
  leave(rc);
}
