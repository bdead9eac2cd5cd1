// Resource strings, the resource library's tables, the support path and the LISP helper.
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <vector>

#include "express/frame/commands.h"
#include "express/frame/lifecycle.h"
#include "express/res/dialogs.h"
#include "host/app/app.h"
#include "hostapi/resource.h"
#include "tests/frame/frame_fixture.h"

namespace fs = std::filesystem;

namespace {
std::string readFile(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}
void writeFile(const fs::path& p, const std::string& text) {
  fs::create_directories(p.parent_path());
  std::ofstream(p, std::ios::binary) << text;
}
}  // namespace

TEST_F(FrameTest, ResourceStringsComeFromTheLibraryWithDefaultsForTheRest) {
  express::CResString prompt(express::res::BreaklineFirstPoint);
  EXPECT_TRUE(prompt.fromLibrary());
  EXPECT_STREQ(prompt, "\nSpecify first point for breakline or [Block/Size/Extension/sPecify/eXit]: ");
  express::CResString missing(99999, "fallback");
  EXPECT_FALSE(missing.fromLibrary());
  EXPECT_STREQ(missing, "fallback");
  // Longer texts are cut at the buffer's 1000 characters, not overrun.
  express::CResString same(express::res::Txt2mtxtDone);
  EXPECT_STREQ(same, "%d text objects removed, %d MText object added.\n");
}

TEST_F(FrameTest, WithoutTheLibraryEveryStringFallsBackAndEachRetriesTheLoad) {
  express::resetResourceLibraryForTests(dir().string());  // a folder without expressres.dll
  out();
  express::CResString prompt(express::res::BreaklineFirstPoint);
  EXPECT_STREQ(prompt, "error");
  express::CResString jww(express::res::JwwInsertPoint);
  EXPECT_STREQ(jww, "\nSelect insert point:");
  express::CResString empty(express::res::Txt2mtxtFound);
  EXPECT_STREQ(empty, "");
  std::string text = out();
  size_t n = 0;
  for (size_t p = text.find("Error: Cannot load expressres.dll!\n"); p != std::string::npos;
       p = text.find("Error: Cannot load expressres.dll!\n", p + 1))
    ++n;
  EXPECT_EQ(n, 3u) << text;

  // Initialisation goes on and commands run with their default texts.
  dxrxEntryPoint(1, nullptr);
  EXPECT_EQ(express::resourceLibrary(), nullptr);
  ASSERT_EQ(script("BURST\n"), 0) << failure;
  EXPECT_NE(out().find("The BURST command is not available in this version."), std::string::npos);
}

TEST_F(FrameTest, TheLibraryHoldsEveryStringOnceAndItsDialogs) {
  express::ensureResourceLibrary();
  const DxResTable* t = dxrxResourceTable(express::resourceLibrary());
  ASSERT_NE(t, nullptr);
  std::set<uint32_t> ids;
  for (uint32_t i = 0; i < t->stringCount; ++i) {
    EXPECT_TRUE(ids.insert(t->strings[i].id).second) << "identifier used twice: " << t->strings[i].id;
    EXPECT_NE(t->strings[i].text, nullptr);
  }
  // Every string comes out of the loader whole, by its identifier.
  std::vector<char> whole(1 << 16);
  for (uint32_t i = 0; i < t->stringCount; ++i) {
    int n = dxrxLoadString(express::resourceLibrary(), t->strings[i].id, whole.data(), int(whole.size()));
    EXPECT_EQ(n, int(std::strlen(t->strings[i].text))) << t->strings[i].id;
    EXPECT_STREQ(whole.data(), t->strings[i].text);
  }
  char buf[1000];
  // The loader cuts at the buffer and says how much it copied.
  EXPECT_EQ(dxrxLoadString(express::resourceLibrary(), 2345, buf, 4), 3);
  EXPECT_STREQ(buf, "\n%l");

  for (uint32_t id : {express::dlg::kTxt2mtxt, express::dlg::kSuperhatch, express::dlg::kBatchPurge,
                      express::dlg::kDimex, express::dlg::kDimim}) {
    const DxResDialog* d = dxrxFindDialog(express::resourceLibrary(), id);
    ASSERT_NE(d, nullptr) << id;
    EXPECT_GT(d->controlCount, 0u);
    for (uint32_t i = 0; i < d->controlCount; ++i)
      if (d->controls[i].textId) EXPECT_TRUE(ids.count(d->controls[i].textId)) << d->className;
  }
  const DxResDialog* sh = dxrxFindDialog(express::resourceLibrary(), express::dlg::kSuperhatch);
  bool accuracy = false;
  for (uint32_t i = 0; i < sh->controlCount; ++i)
    if (sh->controls[i].id == express::dlg::kShAccuracy)
      accuracy = sh->controls[i].low == 16 && sh->controls[i].high == 256;
  EXPECT_TRUE(accuracy);
}

TEST_F(FrameTest, KeywordLibraryWithoutNamesGivesTheGlobalName) {
  EXPECT_NE(express::keywordLibrary(), nullptr);
  express::CKeywordString name(64021, "txt2mtxt");
  EXPECT_STREQ(name, "txt2mtxt");
  EXPECT_FALSE(name.fromLibrary());
}

class SupportPathTest : public FrameTest {
 protected:
  fs::path profile() { return dir() / "profile.ini"; }
  std::string folder() { return (dir() / "App" / "ExtendCmd").string(); }
  std::string dxad() {
    std::string v;
    EXPECT_TRUE(CVmSystem::instance()->userProfile()->readString("General", "DXAD", v));
    return v;
  }
};

TEST_F(SupportPathTest, FolderIsAppendedAndTheStoredPathUpperCased) {
  ::setenv("DRAXEL_APPDIR", (dir() / "App").c_str(), 1);
  writeFile(profile(), "; settings\n[Display]\nDXAD=not this one\n[General]\nDXAD=/opt/Fonts;~/lisp\nOther=x\n");
  dxrxEntryPoint(1, nullptr);
  EXPECT_EQ(dxad(), "/OPT/FONTS;~/LISP;" + folder());
  std::string text = readFile(profile());
  EXPECT_NE(text.find("[Display]\nDXAD=not this one\n"), std::string::npos) << text;
  EXPECT_NE(text.find("Other=x\n"), std::string::npos);
  EXPECT_NE(text.find("; settings\n"), std::string::npos);
  EXPECT_EQ(registeredNames().size(), 190u);

  // Once there, a second start leaves the file alone.
  dxrxEntryPoint(2, nullptr);
  dxrxEntryPoint(1, nullptr);
  EXPECT_EQ(readFile(profile()), text);
}

TEST_F(SupportPathTest, PathHoldingTheFolderInAnyCaseIsLeftUntouched) {
  std::string upper = folder();
  for (char& c : upper) c = char(std::toupper(static_cast<unsigned char>(c)));
  std::string original = "[general]\ndxad=/opt/fonts;" + upper + ";~/lisp\n";
  writeFile(profile(), original);
  dxrxEntryPoint(1, nullptr);
  EXPECT_EQ(readFile(profile()), original);  // not even upper-cased
}

TEST_F(SupportPathTest, NoKeyOrNoProfileChangesNothingAndCommandsStillRegister) {
  writeFile(profile(), "[General]\nOther=1\n");
  dxrxEntryPoint(1, nullptr);
  EXPECT_EQ(readFile(profile()), "[General]\nOther=1\n");
  EXPECT_EQ(registeredNames().size(), 190u);
  dxrxEntryPoint(2, nullptr);
  fs::remove(profile());
  dxrxEntryPoint(1, nullptr);
  EXPECT_FALSE(fs::exists(profile()));
  EXPECT_EQ(registeredNames().size(), 190u);
}

TEST_F(SupportPathTest, EmptyPathGetsTheFolderAfterASeparator) {
  writeFile(profile(), "[General]\nDXAD=\n");
  dxrxEntryPoint(1, nullptr);
  EXPECT_EQ(dxad(), ";" + folder());
}

TEST_F(FrameTest, ProfileWritesKeepOtherSectionsAndAddMissingOnes) {
  CVmUserProfile* p = CVmSystem::instance()->userProfile();
  std::string v;
  EXPECT_FALSE(p->readString("General", "DXAD", v));
  ASSERT_TRUE(p->writeString("General", "A", "1"));
  ASSERT_TRUE(p->writeString("Other", "B", "two words"));
  ASSERT_TRUE(p->writeString("general", "C", "3"));
  ASSERT_TRUE(p->writeString("GENERAL", "a", "4"));
  EXPECT_EQ(readFile(dir() / "profile.ini"), "[General]\nA=4\nC=3\n\n[Other]\nB=two words\n");
  EXPECT_TRUE(p->readString("other", "b", v));
  EXPECT_EQ(v, "two words");
  EXPECT_FALSE(p->writeString("General", "D", "two\nlines"));
  // A profile in a folder that cannot be made: the write fails, nothing crashes.
  ::setenv("DRAXEL_PROFILE", "/proc/no/such/profile.ini", 1);
  EXPECT_FALSE(CVmSystem::instance()->userProfile()->writeString("General", "A", "1"));
}

TEST_F(FrameTest, LispHelperUnloadsTheFourSupportFilesByForwardSlashPaths) {
  EXPECT_EQ(express::lispSupportExpression("(UNLOAD \"%s\")", "C:\\Prog\\Draxel\\", "dyjt.lsp"),
            "(UNLOAD \"C:/Prog/Draxel/ExtendCmd/dyjt.lsp\")");
  fs::path mod = dir() / "module";
  for (const char* f : express::kLispSupportFiles) writeFile(mod / "ExtendCmd" / f, "(princ)\n");
  express::resetResourceLibraryForTests(mod.string());
  size_t before = dx::app::loadedLispFiles().size();
  express::loadLispSupportFiles();
  const auto& files = dx::app::loadedLispFiles();
  ASSERT_EQ(files.size(), before + 4);
  EXPECT_EQ(files[before], (mod / "ExtendCmd" / "sptpl.lsp").string());
  EXPECT_EQ(files[before + 3], (mod / "ExtendCmd" / "eptdwg.lsp").string());
  express::unloadLispSupportFiles();
  EXPECT_EQ(dx::app::loadedLispFiles().size(), before);
  out();
  resbuf* r = nullptr;
  EXPECT_EQ(dxedEvaluateLisp("(command \"LINE\")", &r), RTERROR);
  EXPECT_EQ(r, nullptr);
  EXPECT_NE(out().find("error"), std::string::npos);
}
