// SPDX-License-Identifier: MIT
// The locale of the user, from the chain and from the system.
#include <tavrin/Localizer.h>

#include <cstdlib>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "containers/HostLocalizer.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::Current;
using test::HostLocalizer;
using test::LibrarySession;

namespace {

constexpr const char *variables[] = {"LC_ALL", "LC_MESSAGES", "LANG"};

// Keeps the variables that name the locale, and restores them in the end.
class LocalizerLocaleTest : public testing::Test
{
protected:
    void SetUp() override
    {
        for (int index = 0; index < 3; ++index) {
            if (const char *value = std::getenv(variables[index]))
                kept[index] = value;
            unsetenv(variables[index]);
        }
    }
    void TearDown() override
    {
        for (int index = 0; index < 3; ++index) {
            if (kept[index])
                setenv(variables[index], kept[index]->c_str(), 1);
            else
                unsetenv(variables[index]);
        }
    }

private:
    std::optional<std::string> kept[3];
};

// What a fresh start of the library finds.
std::u16string localeFor(const char *language)
{
    setenv("LANG", language, 1);
    LibrarySession session;
    return test::unitsOf(Localizer::getLocale());
}

struct Row
{
    const char *system;
    const char16_t *locale;
};

void expectRows(std::initializer_list<Row> rows)
{
    for (const Row &row : rows) {
        SCOPED_TRACE(row.system);
        EXPECT_EQ(localeFor(row.system), row.locale);
    }
}

} // namespace

TEST_F(LocalizerLocaleTest, ALanguageAloneGetsItsCountry)
{
    expectRows(
        {{"da", u"da_DK"}, {"en", u"en_US"}, {"ja", u"ja_JP"}, {"ko", u"ko_KR"}, {"zh", u"zh_CN"}});
}

TEST_F(LocalizerLocaleTest, AnyOtherLanguageAloneIsItsOwnCountry)
{
    expectRows({{"de", u"de_DE"},
                {"fr", u"fr_FR"},
                {"it", u"it_IT"},
                {"es", u"es_ES"},
                {"nb", u"nb_NB"},
                {"DE", u"de_DE"},
                {"xx", u"xx_XX"}});
}

TEST_F(LocalizerLocaleTest, FarsiAloneGoesByArabicToTheOneArabicFile)
{
    expectRows({{"fa", u"ar_AE"}, {"ar", u"ar_AE"}, {"fa_IR", u"fa_IR"}});
}

TEST_F(LocalizerLocaleTest, TheRegionsOfSomeLanguagesShareAFile)
{
    expectRows({{"ar_EG", u"ar_AE"},
                {"ar_AE", u"ar_AE"},
                {"zh_HK", u"zh_TW"},
                {"zh_TW", u"zh_TW"},
                {"zh_SG", u"zh_TW"},
                {"fr_CA", u"fr_FR"},
                {"fr_FR", u"fr_FR"},
                {"de_AT", u"de_DE"},
                {"de_CH", u"de_DE"},
                {"es_MX", u"es_ES"},
                {"es_ES", u"es_ES"}});
}

TEST_F(LocalizerLocaleTest, SimplifiedChineseHasAFileOfItsOwn)
{
    expectRows({{"zh_CN", u"zh_CN"}, {"ZH_cn", u"zh_CN"}});
}

TEST_F(LocalizerLocaleTest, OtherRegionsStay)
{
    expectRows({{"en_GB", u"en_GB"},
                {"pt_BR", u"pt_BR"},
                {"pt_PT", u"pt_PT"},
                {"nn_NO", u"nn_NO"},
                {"it_CH", u"it_CH"}});
}

TEST_F(LocalizerLocaleTest, TheCaseIsNormalised)
{
    expectRows({{"FR_ca", u"fr_FR"}, {"EN_gb", u"en_GB"}, {"pT_Br", u"pt_BR"}});
}

TEST_F(LocalizerLocaleTest, NorwegianIsBokmaal)
{
    expectRows({{"no_NO", u"nb_NO"}, {"no", u"no_NO"}});
}

// The mapping looks at the text as the system spells it.
TEST_F(LocalizerLocaleTest, NorwegianInAnotherCaseStays)
{
    expectRows({{"NO_no", u"no_NO"}});
}

TEST_F(LocalizerLocaleTest, LongCodesKeepTheirLength)
{
    expectRows(
        {{"ast_ES", u"ast_ES"}, {"fil", u"fil"}, {"fil_PH", u"fil_PH"}, {"es_419", u"es_419"}});
}

TEST_F(LocalizerLocaleTest, CodesetAndModifierAreNoPartOfIt)
{
    expectRows({{"en_GB.UTF-8", u"en_GB"},
                {"de_AT@euro", u"de_DE"},
                {"pt_BR.UTF-8@latin", u"pt_BR"},
                {"it.UTF-8", u"it_IT"},
                {"it@x_y", u"it_IT"}});
}

TEST_F(LocalizerLocaleTest, WithoutALanguageItIsAmericanEnglish)
{
    expectRows({{"", u"en_US"},
                {"C", u"en_US"},
                {"POSIX", u"en_US"},
                {"C.UTF-8", u"en_US"},
                {"_GB", u"en_US"},
                {"e", u"en_US"},
                {"english", u"en_US"},
                {"..", u"en_US"},
                {"@", u"en_US"},
                {"e!_GB", u"en_US"},
                {"/usr/share/locale", u"en_US"}});
    unsetenv("LANG");
    LibrarySession session;
    EXPECT_EQ(Localizer::getLocale(), "en_US");
}

TEST_F(LocalizerLocaleTest, WithoutACountryItIsTheLanguage)
{
    expectRows(
        {{"it_", u"it_IT"}, {"it_I", u"it_IT"}, {"it_Italia", u"it_IT"}, {"it_--", u"it_IT"}});
}

TEST_F(LocalizerLocaleTest, LCALLDecidesThenLCMESSAGESThenLANG)
{
    setenv("LC_MESSAGES", "ja_JP", 1);
    EXPECT_EQ(localeFor("ko_KR"), u"ja_JP");
    setenv("LC_ALL", "da_DK", 1);
    EXPECT_EQ(localeFor("ko_KR"), u"da_DK");
    setenv("LC_ALL", "", 1);
    EXPECT_EQ(localeFor("ko_KR"), u"ja_JP") << "an empty one counts as not set";
    setenv("LC_ALL", "C", 1);
    EXPECT_EQ(localeFor("ko_KR"), u"en_US") << "that is a choice, too";
}

TEST_F(LocalizerLocaleTest, TheSystemIsReadOnceBetweenInitAndExit)
{
    setenv("LANG", "ja_JP", 1);
    {
        LibrarySession session;
        EXPECT_EQ(Localizer::getLocale(), "ja_JP");
        setenv("LANG", "ko_KR", 1);
        EXPECT_EQ(Localizer::getLocale(), "ja_JP");
    }
    LibrarySession session;
    EXPECT_EQ(Localizer::getLocale(), "ko_KR");
}

TEST_F(LocalizerLocaleTest, ChangingTheResultLeavesTheNextOneAlone)
{
    setenv("LANG", "ja_JP", 1);
    LibrarySession session;
    String locale = Localizer::getLocale();
    locale.set(0, 'X');
    EXPECT_EQ(Localizer::getLocale(), "ja_JP");
}

TEST_F(LocalizerLocaleTest, AnAnswerOfTheChainIsReturnedAsItStands)
{
    setenv("LANG", "ja_JP", 1);
    LibrarySession session;
    HostLocalizer host;
    const char *answer = "";
    host.onGetLocale = [&](String &out) {
        EXPECT_EQ(out, "");
        out = answer;
        return true;
    };
    const Current current(host);
    for (const char *text : {"FR_ca", "no_NO", "fr", "", "any text"}) {
        answer = text;
        EXPECT_EQ(Localizer::getLocale(), text);
    }
    host.onGetLocale = [](String &out) {
        out = "not meant";
        return false;
    };
    EXPECT_EQ(Localizer::getLocale(), "ja_JP");
}

TEST_F(LocalizerLocaleTest, RunningOutOfMemoryLeavesItToTheNextCall)
{
    for (const char *language : {"de", "pt_BR"}) {
        setenv("LANG", language, 1);
        LibrarySession session;
        const std::u16string expected = std::string(language) == "de" ? u"de_DE" : u"pt_BR";
        test::underMemoryFailure([] { return String(); },
                                 [](String &locale) { locale = Localizer::getLocale(); },
                                 [&](const String &locale, bool failed) {
                                     EXPECT_EQ(test::unitsOf(locale), failed ? u"" : expected);
                                 });
    }
}
