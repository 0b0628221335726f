#!/usr/bin/env tavrin
// What the tests of the console run.
print("hello", args.length, args.join("+"));
function fail(x) {
  return x.missing.thing;
}
if (args[0] === "fail") fail({});
if (args[0] === "exit") exit(7);
