// SPDX-License-Identifier: MIT
// A drawing program in miniature: shapes that scripts make, a scene that holds them, a component
// that makes all shapes movable, and properties that a script serves to the program.
//   scene script.js
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include <tavrin/Tavrin.h>
#include <tvscript/Engine.h>

using namespace Tavrin;

namespace {

constexpr int outOfRange = 41;
constexpr int notAShape = 80; // the first code that is free for hosts

// What all shapes have in common.
class Shape : public Bound<Shape>
{
public:
    Point position;

    static constexpr Member members[] = {
        {"position", property<&Shape::position>, "point\tWhere its middle is."},
    };

protected:
    explicit Shape(const char *className);
};

// Makes a shape movable. One component serves them all.
class Movable : public LiveComponent
{
public:
    Movable()
    {
        static constexpr LivePropertyInfo rows[] = {
            {"moveBy", moveByID, kInfoMethod, "undefined\tMoves it.,dx:number,dy:number"},
            {nullptr, 0, 0, nullptr},
        };
        static const LivePropertyManager manager(rows);
        setPropertyManager(&manager);
    }

    bool isGeneric(int) const override { return true; }
    int call(LiveObject &object, int id, const Array &args, Variant &result, Error *error) override
    {
        auto *shape = dynamic_cast<Shape *>(&object);
        if (id != moveByID || shape == nullptr)
            return LiveComponent::call(object, id, args, result, error);
        shape->position.x += args[0].getDouble();
        shape->position.y += args[1].getDouble();
        return 0;
    }

    static Movable &shared()
    {
        static const auto component = InterfacePtr<Movable>::adopt(new Movable);
        return *component;
    }

private:
    enum
    {
        moveByID = 1000,
    };
};

class Circle : public Bound<Circle, Shape>
{
public:
    Circle() : Bound("Circle") {}

    double radius = 1;

    void start(double itsRadius) { radius = itsRadius; }
    double getArea() const { return radius * radius * std::numbers::pi; }

    static constexpr Member members[] = {
        {"", method<&Circle::start>.defaults(1), "Circle\tA circle.,radius:number;0;;1"},
        {"radius", property<&Circle::radius>, "number\tFrom the middle to the rim."},
        {"area", property<&Circle::getArea>, "number\tWhat it covers."},
    };
};

class Square : public Bound<Square, Shape>
{
public:
    Square() : Bound("Square") {}

    double side = 1;

    void start(double itsSide) { side = itsSide; }
    double getArea() const { return side * side; }

    static constexpr Member members[] = {
        {"", method<&Square::start>.defaults(1), "Square\tA square.,side:number;0;;1"},
        {"side", property<&Square::side>, "number\tThe length of a side."},
        {"area", property<&Square::getArea>, "number\tWhat it covers."},
    };
};

// Serves one property of a scene through two functions of a script.
class ScriptProperty : public Listener
{
public:
    ScriptProperty(LiveObject &itsOwner, const String &itsName, const Variant &itsGetter,
                   const Variant &itsSetter)
        : owner(itsOwner), name(itsName), getter(itsGetter), setter(itsSetter)
    {
        for (const int message : {askID, askGet, askPut})
            owner.addListener(*this, message);
    }
    ~ScriptProperty() override { owner.removeListener(*this, Broadcaster::allMessages); }
    ScriptProperty(const ScriptProperty &) = delete;
    ScriptProperty &operator=(const ScriptProperty &) = delete;

    bool notify(Message &message) override
    {
        auto &question = static_cast<LiveMessage &>(message);
        Variant &data = *question.getData();
        if (question.getID() == askID) {
            if (data.getString() != name)
                return false;
            question.getPropertyID() = id;
            data = int{kInfoReadWrite};
            return true;
        }
        if (question.getPropertyID() != id)
            return false;
        Array args;
        Variant result;
        const bool isWrite = question.getID() == askPut;
        if (isWrite)
            args += data;
        question.getError() =
            TvScript::Engine::call(isWrite ? setter : getter, args, result, question.getExtError());
        if (!isWrite)
            data = result;
        return true;
    }

private:
    LiveObject &owner;
    const String name;
    const Variant getter;
    const Variant setter;
    const int id = LiveBase::getNextID();
};

class Scene : public Bound<Scene, LiveCollection>
{
public:
    Scene() : Bound("Scene", 0, false) {}

    int getLength(unsigned int &length) const override
    {
        length = static_cast<unsigned>(shapes.size());
        return 0;
    }
    int getByIndex(unsigned int index, Variant &out, Error *error) const override
    {
        if (index >= shapes.size())
            return setError(outOfRange, static_cast<int>(index), error, true);
        out = shapes[index].get();
        return 0;
    }

    void add(Shape &shape) { shapes.emplace_back(&shape); }
    // The script may still hold the shape: it is no use to it any more.
    Outcome<> remove(Shape &shape)
    {
        const auto place = std::find(shapes.begin(), shapes.end(), &shape);
        if (place == shapes.end())
            return Failed{notAShape};
        shape.invalidate();
        shapes.erase(place);
        return {};
    }
    Outcome<> draw(const Variant &callback)
    {
        for (const auto &shape : shapes) {
            Array args;
            Variant result;
            args += shape.get();
            if (const int code = TvScript::Engine::call(callback, args, result))
                return Failed{code};
        }
        return {};
    }
    void serve(const String &name, const Variant &getter, const Variant &setter)
    {
        served.push_back(std::make_unique<ScriptProperty>(*this, name, getter, setter));
    }

    static constexpr Member members[] = {
        {"add", method<&Scene::add>, "undefined\tTakes a shape in.,shape:Shape"},
        {"remove", method<&Scene::remove>, "undefined\tDeletes a shape.,shape:Shape"},
        {"draw", method<&Scene::draw>, "undefined\tCalls for each shape.,callback:any"},
        {"serve", method<&Scene::serve>,
         "undefined\tA property that the script has.,name:string,getter:any,setter:any"},
    };

private:
    std::vector<InterfacePtr<Shape>> shapes;
    std::vector<std::unique_ptr<ScriptProperty>> served;
};

Shape::Shape(const char *className) : Bound(className)
{
    addComponent(Movable::shared());
}

int print(const Array &args, Variant &, Error *)
{
    std::printf("%s\n", args[0].toString().encode(&Encoder::getUtf8()));
    return 0;
}

int run(const char *scriptFile)
{
    std::ifstream file(scriptFile, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    String script;
    script.decode(bytes.data(), static_cast<int>(bytes.size()), &Encoder::getUtf8());

    Error::defineError(notAShape, "This shape is not in the scene: %1", "SceneError");
    Circle::addFactory(kDefaultLanguage);
    Square::addFactory(kDefaultLanguage);
    const auto scene = InterfacePtr<Scene>::adopt(new Scene);
    TvScript::Engine engine;
    engine.setGlobal("scene", *scene);
    engine.setFunction("print", print);
    Variant result;
    Error error;
    if (engine.evaluate(script, scriptFile, result, &error) == 0)
        return 0;
    std::printf("%s", TvScript::Engine::report(error).encode(&Encoder::getUtf8()));
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    InitTerm::init();
    const int code = argc == 2 ? run(argv[1]) : 2;
    InitTerm::exit();
    return code;
}
