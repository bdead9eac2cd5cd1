// superhatch's own rules inside the host: the group name counter, the large-job ratio and
// the circle accuracy kept per document.
#include <gtest/gtest.h>

#include "express/aids/superhatch/superhatch.h"
#include "tests/editor/db/fixture.h"

using namespace express::shatch;

class SuperhatchCommandTest : public EditorTest {
 protected:
  void addGroup(DxDbDictionary* dict, const std::string& name) {
    auto* g = new DxDbGroup("x");
    DxDbObjectId id;
    ASSERT_EQ(dict->setAt(name.c_str(), g, id), Dxad::eOk);
    g->close();
  }
};

TEST_F(SuperhatchCommandTest, GroupNamesCountUpToTwoThousandThenFallBack) {
  EXPECT_EQ(superhatchGroupName(nullptr), "*SuperhatchDefaultGroup");
  DxDbDictionary* dict = nullptr;
  ASSERT_EQ(db()->getGroupDictionary(dict, DxDb::kForWrite), Dxad::eOk);
  EXPECT_EQ(superhatchGroupName(dict), "Superhatch_group0");
  addGroup(dict, "Superhatch_group0");
  addGroup(dict, "Superhatch_group2");
  EXPECT_EQ(superhatchGroupName(dict), "Superhatch_group1");
  for (int n = 1; n < 2000; ++n)
    if (n != 2) addGroup(dict, "Superhatch_group" + std::to_string(n));
  EXPECT_EQ(superhatchGroupName(dict), "*SuperhatchDefaultGroup");
  dict->close();
}

TEST_F(SuperhatchCommandTest, LargeJobIsAboveTheRatioNotAtIt) {
  EXPECT_FALSE(isLargeJob(kLargeJobRatio * 2 * 3, 2, 3));
  EXPECT_FALSE(isLargeJob(kLargeJobRatio * 6, -2, 3));  // extents may come reversed
  EXPECT_TRUE(isLargeJob((kLargeJobRatio + 1e-6) * 6, 2, 3));
  EXPECT_TRUE(isLargeJob(1, 0, 3));  // no tile area at all
}

TEST_F(SuperhatchCommandTest, EachDocumentKeepsItsOwnAccuracyUntilItCloses) {
  auto* first = session().current();
  EXPECT_EQ(circleAccuracy().accuracy, kDefaultAccuracy);
  circleAccuracy().accuracy = 200;
  auto* second = session().newDocument();
  session().setCurrent(second);
  EXPECT_EQ(circleAccuracy().accuracy, kDefaultAccuracy);
  circleAccuracy().accuracy = 16;
  session().setCurrent(first);
  EXPECT_EQ(circleAccuracy().accuracy, 200);
  session().closeDocument(first);
  session().setCurrent(second);
  EXPECT_EQ(circleAccuracy().accuracy, 16);
  auto* third = session().newDocument();
  session().setCurrent(third);
  EXPECT_EQ(circleAccuracy().accuracy, kDefaultAccuracy);
}

TEST_F(SuperhatchCommandTest, RefusesToRunWhileAReferenceIsEditedInPlace) {
  // What REFEDIT leaves on the drawing while a working set is open.
  session().current()->refEditName = "DOOR";
  resbuf rb{};
  ASSERT_EQ(dxedGetVar("REFEDITNAME", &rb), RTNORM);
  EXPECT_STREQ(rb.resval.rstring, "DOOR");
  free(rb.resval.rstring);
  resbuf other{};
  other.restype = RTSTR;
  other.resval.rstring = const_cast<char*>("X");
  EXPECT_EQ(dxedSetVar("REFEDITNAME", &other), RTERROR);  // only the host sets it
  runSuperhatch(false);
  std::string said = out();
  EXPECT_NE(said.find(" Could not operate in workseting.\n"), std::string::npos);
  EXPECT_EQ(said.find("Select a pattern type"), std::string::npos);

  session().current()->refEditName.clear();
  session().directAnswers.push_back(dx::ed::Answer::cancel());
  runSuperhatch(false);
  said = out();
  EXPECT_EQ(said.find("workseting"), std::string::npos);
  EXPECT_NE(said.find("Select a pattern type"), std::string::npos);
}
