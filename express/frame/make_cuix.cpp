// Writes express.cuix, the module's menu group, from the command table: one menu item per
// command, in table order. Usage: make_cuix OUTPUT
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {
struct Row {
  const char* group;
  const char* name;
};
#define DX_CMD(group, name, flags, nameId, body) {#group, name},
const Row kRows[] = {
#include "express/frame/command_table.inc"
};
#undef DX_CMD
}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_cuix OUTPUT\n");
    return 2;
  }
  std::string out = argv[1];
  std::string tmp = out + ".tmp";
  {
    std::ofstream f(tmp, std::ios::binary | std::ios::trunc);
    f << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      << "<!-- The express menu group: every command of express.drx. -->\n"
      << "<MenuGroup Name=\"EXPRESS\">\n  <Menu Name=\"Express\">\n";
    for (const Row& r : kRows)
      f << "    <MenuItem Name=\"" << r.name << "\" Command=\"" << r.name << "\" Macro=\"^C^C_" << r.name
        << "\"/>\n";
    f << "  </Menu>\n</MenuGroup>\n";
    if (!f) {
      std::fprintf(stderr, "make_cuix: cannot write %s\n", tmp.c_str());
      return 1;
    }
  }
  std::error_code ec;
  std::filesystem::rename(tmp, out, ec);
  if (ec) {
    std::fprintf(stderr, "make_cuix: cannot write %s: %s\n", out.c_str(), ec.message().c_str());
    return 1;
  }
  return 0;
}
