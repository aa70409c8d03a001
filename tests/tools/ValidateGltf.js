// SPDX-License-Identifier: MIT
// Prints as JSON what the Khronos validator finds in glTF files, errors and warnings: node ValidateGltf.js MODULES FILE...
const fs = require('fs');
const path = require('path');

const [modules, ...files] = process.argv.slice(2);
const validator = require(path.resolve(modules, 'node_modules', 'gltf-validator'));
const kWarning = 1; // severity; errors are 0

async function issuesOf(file) {
    const report = await validator.validateBytes(new Uint8Array(fs.readFileSync(file)), {
        uri: path.basename(file),
        maxIssues: 0,
        externalResourceFunction: async (uri) =>
            new Uint8Array(fs.readFileSync(path.resolve(path.dirname(file), decodeURIComponent(uri)))),
    });
    return report.issues.messages.filter((issue) => issue.severity <= kWarning)
        .map((issue) => `${issue.code} ${issue.pointer ?? ''}`);
}

Promise.all(files.map(issuesOf)).then((found) => console.log(JSON.stringify(found)));
