// Lunch is an object of the program: here it is read, changed and called.
lunch.title += " with Ann";
lunch.postpone(30);

// Others are made here. Their functions are called when the script has long ended.
var tea = new Reminder("Tea");
tea.minute = 16 * 60;
tea.onDue = function () {
  return this.title + " at " + this.minute / 60;
};
remind(tea);

try {
  tea.minute = "soon";
} catch (error) {
  remind(new Reminder("Not done: " + error.message));
}
