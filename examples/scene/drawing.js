// A script that a user of the drawing program may write.
var circle = new Circle(10);
circle.position = new Point(5, 5);
circle.moveBy(10, 20); // every shape can move: that is a component which all of them share
print(circle.constructor.name + " at " + circle.position + ", area " + Math.round(circle.area));

scene.add(circle);
scene.add(new Square(4));
scene.add(new Circle(2));

// A property of the scene that this script serves itself.
var title = "a picture";
scene.serve("title",
            function () { return title + " of " + scene.length + " shapes"; },
            function (value) { title = value; });
print(scene.title);
scene.title = "Ready";
print(scene.title);

// The program calls back for each shape that it draws.
var drawn = [];
scene.draw(function (shape) { drawn.push(shape.constructor.name); });
print("drawn: " + drawn.join(", "));

for (var name in circle) print("  " + name + ": " + circle[name]);

// The program may take an object away at any time.
scene.remove(circle);
try {
  print(circle.radius);
} catch (error) {
  print("the circle is gone: " + error.message);
}
