// SPDX-License-Identifier: MIT
// The two classes of the guide's chapter about scriptable classes, used as a script would.
//   scriptable
#include <cstdio>

#include <tavrin/Tavrin.h>

using namespace Tavrin;

int addLayerByHand(int flags);
int addBoundLayer(int flags);
void writeLetter(Error &error);

namespace {

constexpr int everyScript = 1;

void show(const String &what, int code, const Variant &value, const Error &error)
{
    String text = value.getString();
    if (code != 0)
        error.getFullText(text);
    String line;
    line.print("  %-16ls %ls\n", what.wstr(), text.wstr());
    std::printf("%s", line.encode(&Encoder::getUtf8()));
}

void put(LiveObject &object, const char *name, const Variant &value)
{
    Error error;
    Variant out;
    int code = object.put(name, value, LiveObject::onlyKnown, &error);
    if (code == 0)
        code = object.get(name, out, &error);
    show(String(name) + " = " + value.getString(), code, out, error);
}

void fade(LiveObject &object, const Array &args)
{
    Error error;
    Variant result;
    const int code = object.call("fade", args, result, &error);
    show("fade", code, result, error);
}

bool tryOut(const char *how, int (*addFactory)(int flags))
{
    std::printf("%s\n", how);
    LiveObject *made = nullptr;
    if (addFactory(everyScript) != 0 || LiveObject::create(&made, "Layer", everyScript) != 0)
        return false;
    const auto layer = InterfacePtr<LiveObject>::adopt(made);
    layer->parse("{name: 'Ink', opacity: 75}", everyScript);
    put(*layer, "name", "Shadow");
    put(*layer, "opacity", 50);
    fade(*layer, Array());
    fade(*layer, Array() += 15);
    put(*layer, "opacity", 120);
    put(*layer, "opacity", "much");
    put(*layer, "colour", "red");
    fade(*layer, Array() += "far");
    return LiveObject::removeFactory("Layer") == 0;
}

bool tryDocument()
{
    std::printf("A document\n");
    Error error;
    writeLetter(error);
    show("pages = three", error.getCode(), Variant(), error);
    return error.getCode() == 47;
}

} // namespace

int main()
{
    InitTerm::init();
    const bool succeeded =
        tryOut("By hand", addLayerByHand) && tryOut("Bound", addBoundLayer) && tryDocument();
    InitTerm::exit();
    return succeeded ? 0 : 1;
}
