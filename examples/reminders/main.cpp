// SPDX-License-Identifier: MIT
// Reminds of what a script asks for: reminders script.js
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <tavrin/Tavrin.h>
#include <tvscript/Engine.h>

using namespace Tavrin;

class Reminder : public Bound<Reminder>
{
public:
    Reminder() : Bound("Reminder") {}

    String title;
    int minute = 0; // of the day
    Variant onDue;  // a function of the script, or undefined

    void start(const String &itsTitle) { title = itsTitle; }
    Outcome<int> postpone(int by)
    {
        if (by < 0 || by >= 1440 - minute)
            return Failed{41}; // out of range
        return minute += by;
    }

    static constexpr Member members[] = {
        {"", method<&Reminder::start>, "Reminder\tA new one.,title:string"},
        {"title", property<&Reminder::title>, "string\tWhat to remind of."},
        {"minute", property<&Reminder::minute>.between(0, 1439), "int;0;1439\tWhen it is due."},
        {"onDue", property<&Reminder::onDue>, "any\tA function that words the reminder."},
        {"postpone", method<&Reminder::postpone>, "int\tMakes it later.,by:int\tMinutes."},
    };
};

int report(const Error &error)
{
    std::fputs(TvScript::Engine::report(error).encode(&Encoder::getUtf8()), stderr);
    return 1;
}

int run(const std::string &bytes, const char *file)
{
    String script;
    script.decode(bytes.data(), static_cast<int>(bytes.size()), &Encoder::getUtf8());
    Reminder::addFactory(kDefaultLanguage); // scripts may say `new Reminder`
    const auto lunch = InterfacePtr<Reminder>::adopt(new Reminder);
    lunch->title = "Lunch";
    lunch->minute = 12 * 60;
    std::vector<InterfacePtr<Reminder>> day = {lunch};

    TvScript::Engine engine;
    engine.setGlobal("lunch", *lunch);
    engine.setFunction("remind", [&day](const Array &args, Variant &, Error *error) {
        if (auto *reminder = dynamic_cast<Reminder *>(args[0].getLiveObject())) {
            day.emplace_back(reminder);
            return 0;
        }
        error->push(19, "1: remind takes a Reminder", nullptr, true);
        return 19; // a bad argument
    });
    Error error;
    Variant words;
    if (engine.evaluate(script, file, words, &error) != 0)
        return report(error);

    // The script has ended. Its functions live on in the values that hold them.
    std::ranges::sort(day, {}, [](const auto &reminder) { return reminder->minute; });
    for (const auto &reminder : day) {
        words = reminder->title;
        if (reminder->onDue.isDefined() &&
            TvScript::Engine::call(reminder->onDue, *reminder, Array(), words, &error) != 0)
            return report(error);
        std::puts(words.toString().encode(&Encoder::getUtf8()));
    }
    return 0;
}

int main(int argc, char **argv)
{
    std::ifstream file(argc == 2 ? argv[1] : "", std::ios::binary);
    if (!file) {
        std::fputs("usage: reminders script.js\n", stderr);
        return 2;
    }
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    InitTerm::init();
    const int code = run(bytes, argv[1]); // what the library made is gone before the exit
    InitTerm::exit();
    return code;
}
