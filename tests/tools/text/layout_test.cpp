// How wide text is, and where its lines are broken.
#include "text/layout.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

using namespace wgr;

// For a terminal of so many columns; 0: there are no terminals here.
static size_t width_for(unsigned short columns) {
  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) return 0;
  const int terminal = open(ptsname(master), O_RDWR | O_NOCTTY);
  if (terminal < 0) return 0;
  winsize size = {};
  size.ws_col = columns;
  ioctl(terminal, TIOCSWINSZ, &size);
  const size_t width = layout_for(terminal).width;
  close(terminal);
  close(master);
  return width;
}

TEST(Layout, IsAsWideAsTheTerminalWithinReason) {
  if (width_for(80) == 0) GTEST_SKIP() << "there are no terminals to be had here";
  EXPECT_EQ(width_for(80), 80u);
  EXPECT_EQ(width_for(10), 40u);
  EXPECT_EQ(width_for(300), 120u);
  EXPECT_EQ(width_for(0), 90u) << "a terminal that does not say";
}

TEST(Layout, IsPlainWhereThereIsNoTerminal) {
  const int file = open("/", O_RDONLY);
  EXPECT_EQ(layout_for(file).width, 90u);
  EXPECT_FALSE(layout_for(file).colour);
  close(file);
}

TEST(Layout, BreaksLinesAtBlanks) {
  Layout layout;
  layout.width = 10;
  std::string text;
  append_wrapped(text, "  ", "one two three extraordinary x", layout, "- ");
  EXPECT_EQ(text, "- one two\n  three\n  extraordinary\n  x\n");
  EXPECT_EQ(layout.strong("x"), "x");
  layout.colour = true;
  EXPECT_EQ(layout.strong("x"), "\033[1mx\033[0m");
}
