// SPDX-License-Identifier: MIT
// Exceptions of scripts as records of the application, and codes of the application as exceptions.
#include "engine/ScriptTest.h"

namespace Tavrin::test {
namespace {

using EngineError = ScriptTest;

TEST_F(EngineError, ASyntaxErrorHasItsPlaceAndItsText)
{
    Variant result;
    Error error;
    EXPECT_EQ(engine().evaluate("var a = 1;\nvar b = ;\n", "bad.js", result, &error), 8);
    const ErrorInfo *info = error.getError();
    EXPECT_EQ(info->getLine(), 2);
    EXPECT_EQ(info->getFile(), "bad.js");
    EXPECT_EQ(info->getSource(), "var a = 1;\nvar b = ;\n");
    EXPECT_EQ(utf8(info->getText()).substr(0, 13), "Syntax error:");
    EXPECT_EQ(info->getText().find("(line"), -1);
}

TEST_F(EngineError, AReportShowsThePlaceTheMessageAndTheLine)
{
    const auto reportOf = [&](const String &text, const char *file) {
        Variant result;
        Error error;
        EXPECT_NE(engine().evaluate(text, file, result, &error), 0);
        return utf8(TvScript::Engine::report(error));
    };
    EXPECT_EQ(reportOf("var a;\r\n\t a.b = 1;\r\na = 2;", "run.js"),
              "run.js:2: Uncaught JavaScript exception: TypeError: cannot write property 'b' of "
              "undefined\n    a.b = 1;\n");
    EXPECT_EQ(reportOf("throw new Error('no file')", ""),
              "script:1: Uncaught JavaScript exception: Error: no file\n"
              "    throw new Error('no file')\n");
    EXPECT_EQ(reportOf("throw 'no place'", "run.js"), "Uncaught JavaScript exception: no place\n");
    EXPECT_EQ(utf8(TvScript::Engine::report(Error())), "");
}

TEST_F(EngineError, AReportCutsLongLines)
{
    String text = "x.y; //";
    text.setup('-', 1000);
    text = String("x.y; //") + text;
    Variant result;
    Error error;
    engine().evaluate(text, "run.js", result, &error);
    const std::string report = utf8(TvScript::Engine::report(error));
    EXPECT_EQ(report.substr(report.size() - 9), "-----...\n");
    EXPECT_LT(report.size(), 300u);
}

TEST_F(EngineError, AReportHasAllRecords)
{
    Error error(52, "", true);
    error.setMoreInfo("first\nsecond", 2, -1, -1, 0);
    error.push(41, "size", nullptr, true);
    EXPECT_EQ(utf8(TvScript::Engine::report(error)),
              "size is out of range\n- script:2: I/O error\n    second\n");
    error.setMoreInfo("first\nsecond", 3, -1, -1, 0);
    EXPECT_EQ(utf8(TvScript::Engine::report(error)).substr(0, 31),
              "script:3: size is out of range\n");
}

TEST_F(EngineError, BadTextsAreErrorsAndLeaveTheEngineFit)
{
    String open;
    open.setup('(', 100000);
    for (const String &text :
         {String("'open"), String("/* open"), String("{"), String("1 +"), String("var class = 1"),
          String("\x01"), String("@"), open, u"\xd800"_ts, u"var \0x"_ts}) {
        Variant result;
        Error error;
        EXPECT_NE(engine().evaluate(text, "bad.js", result, &error), 0);
        EXPECT_NE(error.getCode(), 0);
        EXPECT_EQ(tell("'fine'"), "fine");
    }
}

TEST_F(EngineError, AThrownValueIsKept)
{
    Variant result;
    Error error;
    EXPECT_EQ(engine().evaluate("throw 'words'", "throw.js", result, &error), 54);
    EXPECT_EQ(describe(error), "54: Uncaught JavaScript exception: words");
    ASSERT_NE(error.getErrorData(), nullptr);
    EXPECT_EQ(error.getErrorData()->getString(), "words");
    EXPECT_EQ(fail("throw {toString: function () { return 'mine'; }}"),
              "54: Uncaught JavaScript exception: mine");
    EXPECT_EQ(fail("throw undefined"), "54: Uncaught JavaScript exception: undefined");
    EXPECT_EQ(fail("throw Symbol('s')").substr(0, 3), "54:");
}

TEST_F(EngineError, ExceptionsOfTheLanguageSayTheirClass)
{
    EXPECT_EQ(fail("\n  missing.thing"),
              "54: Uncaught JavaScript exception: ReferenceError: identifier "
              "'missing' undefined @test.js:2");
    EXPECT_EQ(fail("null.x").substr(0, 44), "54: Uncaught JavaScript exception: TypeError");
}

TEST_F(EngineError, EndlessRecursionIsAStackOverrun)
{
    EXPECT_EQ(fail("function f() { f(); } f()").substr(0, 17), "27: Stack overrun");
    EXPECT_EQ(fail("function g() { [1].forEach(g); } g()").substr(0, 17), "27: Stack overrun");
    EXPECT_EQ(tell("'fine'"), "fine");
}

TEST_F(EngineError, ACodeIsAnExceptionOfTheFittingClass)
{
    const auto box = make<Box>();
    engine().setGlobal("box", *box);
    const auto classOf = [&](int code) {
        String text;
        text.print("try { box.fail(%ld) } catch (e) { e.name + ':' + e.number + ':' +"
                   " (e instanceof Error) }",
                   code);
        return tell(text);
    };
    EXPECT_EQ(classOf(2), "ReferenceError:2:true");
    EXPECT_EQ(classOf(8), "SyntaxError:8:true");
    EXPECT_EQ(classOf(21), "TypeError:21:true");
    EXPECT_EQ(classOf(-33), "InternalError:-33:true");
    EXPECT_EQ(classOf(41), "RangeError:41:true");
    EXPECT_EQ(classOf(43), "EvalError:43:true");
    EXPECT_EQ(classOf(31), "URIError:31:true");
    EXPECT_EQ(classOf(52), "IOError:52:true");
    EXPECT_EQ(classOf(1), "Error:1:true");
    EXPECT_EQ(classOf(5000), "Error:5000:true");
    EXPECT_EQ(tell("try { box.fail(52) } catch (e) { String(e instanceof IOError) }"), "true");
}

TEST_F(EngineError, ACodeOfTheHostHasItsOwnClass)
{
    const auto box = make<Box>();
    engine().setGlobal("box", *box);
    Error::defineError(2000, "The printer is out of %1", "PrinterError");
    Error::defineError(2001, "Odd", "no word");
    EXPECT_EQ(tell("try { box.fail(2000) } catch (e) { e.name + ': ' + e.message }"),
              "PrinterError: The printer is out of fail");
    EXPECT_EQ(tell("try { box.fail(2000) } catch (e) { String(e instanceof PrinterError) }"),
              "true");
    EXPECT_EQ(tell("try { box.fail(2001) } catch (e) { e.name }"), "Error");
    Error::undefineError(2000);
    Error::undefineError(2001);
}

TEST_F(EngineError, AnExceptionTellsFileAndLine)
{
    const auto box = make<Box>();
    engine().setGlobal("box", *box);
    EXPECT_EQ(tell("\n\ntry {\n box.fail(52) } catch (e) { e.fileName + ':' + e.line }"),
              "test.js:4");
    EXPECT_EQ(tell("try { throw new Error('x') } catch (e) { e.line }"), "1");
    EXPECT_EQ(run("function deep() { box.fail(52) }", "lib.js").getType(), kUndefined);
    EXPECT_EQ(fail("\n\n\ndeep()"), "52: I/O error @lib.js:1");
}

TEST_F(EngineError, ACaughtExceptionKeepsItsRecordsWhenItIsThrownAgain)
{
    engine().setFunction("nested", [](const Array &, Variant &, Error *error) {
        error->push(52, "", nullptr, true);
        error->push(1, "while saving", nullptr, true);
        return 1;
    });
    Variant result;
    Error error;
    EXPECT_EQ(engine().evaluate("try { nested() } catch (e) { throw e }", "n.js", result, &error),
              1);
    EXPECT_EQ(utf8(fullText(error)), "while saving\n- I/O error");
}

TEST_F(EngineError, AScriptGivesItsOwnCodes)
{
    EXPECT_EQ(fail("var e = new Error('mine'); e.number = 1234; throw e"), "1234: mine @test.js:1");
}

TEST_F(EngineError, AnExceptionWithHostileGettersIsStillReported)
{
    EXPECT_EQ(fail("var e = new Error('x'); Object.defineProperty(e, 'message', {get: function () {"
                   " throw 1; }}); throw e")
                  .substr(0, 3),
              "54:");
}

TEST_F(EngineError, RecordsGoOnTopOfThoseThatAreThere)
{
    Variant result;
    Error error(52, "", true);
    EXPECT_EQ(engine().evaluate("throw 1", "x.js", result, &error), 54);
    EXPECT_EQ(utf8(fullText(error)), "Uncaught JavaScript exception: 1\n- I/O error");
}

TEST_F(EngineError, ErrorsWithoutARecordOfTheCallerAreCodesAlone)
{
    Variant result;
    EXPECT_EQ(engine().evaluate("1 +", "x.js", result), 8);
}

} // namespace
} // namespace Tavrin::test
