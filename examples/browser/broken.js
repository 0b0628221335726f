// This one has a mistake, for the browser to point at.
print(table.at(0).name);
print(table.at(1000).name);
