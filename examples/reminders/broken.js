// The mistake is in line 5; the program meets it when it calls.
var tea = new Reminder("Tea");
tea.minute = 10;
tea.onDue = function () {
  this.minute = 24 * 60;
};
remind(tea);
