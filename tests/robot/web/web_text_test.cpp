#include "web/web_text.h"

#include <gtest/gtest.h>

namespace {

TEST(WebText, HtmlHasNoMarkup) {
    EXPECT_EQ(robot::htmlEscaped("<b title=\"x\">'&'"),
              "&lt;b title=&quot;x&quot;&gt;&#39;&amp;&#39;");
    EXPECT_EQ(robot::htmlEscaped("\xfe"), "\xef\xbf\xbd");
    EXPECT_EQ(robot::htmlEscaped(std::string(1, '\0')), "\xef\xbf\xbd");
}

TEST(WebText, JsonIsQuotedAndSafeInAScript) {
    EXPECT_EQ(robot::jsonQuoted("a\"b\\c\n</script>"), "\"a\\\"b\\\\c\\n\\u003c/script>\"");
    EXPECT_EQ(robot::jsonQuoted("\xe2\x80\xa8"), "\"\\u2028\"");
    EXPECT_EQ(robot::jsonQuoted("\xf3\xa0\x81\x81"), "\"\\udb40\\udc41\"");
}

}  // namespace
