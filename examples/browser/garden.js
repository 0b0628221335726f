// What a user of the browser may write: `table` is the file, print shows a line.
print(table.length + " records of " + table.columns.join(", "));

// Records are objects, and the columns their properties.
var families = {};
table.forEach(function (record) {
  families[record.family] = (families[record.family] || 0) + 1;
});
var largest = Object.keys(families).sort(function (a, b) { return families[b] - families[a]; })[0];
print("most of them: " + largest + ", " + families[largest]);

var dearest = table.slice().sort(function (a, b) { return b.price - a.price; }).slice(0, 3);
print("dearest: " + dearest.map(function (record) { return record.name; }).join(", "));

// A change in the script is one in the table.
table.where("family", "nightshade").forEach(function (record) {
  record.price = Math.round(record.price * 110) / 100;
});
print("after a rise, " + table.where("name", "Tomato")[0].name + " costs " +
      table.where("name", "Tomato")[0].price);

// A mistake is an exception, with the words of the application.
try {
  table.where("colour", "red");
} catch (error) {
  print(error.message + " (" + error.name + " " + error.number + ")");
}
