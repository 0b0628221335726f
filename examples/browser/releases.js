// The releases of Debian, from the file that its tools use.
print(table.length + " releases: " + table.columns.join(", "));
table.forEach(function (release) {
  if (!release.release) return;
  var years = release.eol ? Number(release.eol.substr(0, 4)) - Number(release.release.substr(0, 4)) : 0;
  print((release.version + "    ").substr(0, 5) + (release.series + "            ").substr(0, 12) +
        release.release + (years ? "  " + new Array(years + 1).join("=") : ""));
});
