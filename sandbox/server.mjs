#!/usr/bin/env node
// The local identity provider and backend with sample data. See README.md.

import { parseArgs } from "node:util";

import { dayOf } from "./days.mjs";

const usage = `Usage: node server.mjs [options]
  --http-port N              backend over http (8480; 0: any free port)
  --https-port N             backend over https (8443)
  --identity-port N          identity provider (8481)
  --state DIR                keep the https certificate here (none: a new one each time, nothing on disk)
  --access-token-seconds N   life of an access token (300)
  --as-of YYYY-MM-DD         last day of the sample data (2026-11-20)
  --die-with-stdin           exit when standard input ends
`;

function wholeNumber(values, name, least, most) {
  const text = values[name];
  const number = /^\d+$/.test(text) ? Number(text) : NaN;
  if (!(number >= least && number <= most)) {
    throw new RangeError(`--${name}: wanted a whole number from ${least} to ${most}, not ${text}`);
  }
  return number;
}

function readOptions() {
  const { values } = parseArgs({
    options: {
      "http-port": { type: "string", default: "8480" },
      "https-port": { type: "string", default: "8443" },
      "identity-port": { type: "string", default: "8481" },
      state: { type: "string" },
      "access-token-seconds": { type: "string", default: "300" },
      "as-of": { type: "string", default: "2026-11-20" },
      "die-with-stdin": { type: "boolean", default: false },
      help: { type: "boolean", default: false },
    },
  });
  dayOf(values["as-of"]);
  return {
    httpPort: wholeNumber(values, "http-port", 0, 65535),
    httpsPort: wholeNumber(values, "https-port", 0, 65535),
    identityPort: wholeNumber(values, "identity-port", 0, 65535),
    state: values.state,
    accessTokenSeconds: wholeNumber(values, "access-token-seconds", 1, 86_400),
    asOf: values["as-of"],
    dieWithStdin: values["die-with-stdin"],
    help: values.help,
  };
}

async function main() {
  let options;
  try {
    options = readOptions();
  } catch (problem) {
    process.stderr.write(`${problem.message}\n${usage}`);
    process.exit(2);
  }
  if (options.help) {
    process.stdout.write(usage);
    return;
  }
  // The listeners keep the process alive: these end it. Nothing is kept that would need saving.
  for (const signal of ["SIGTERM", "SIGINT"]) {
    process.on(signal, () => process.exit(0));
  }
  if (options.dieWithStdin) {
    process.stdin
      .on("close", () => process.exit(0))
      .on("error", () => process.exit(0))
      .resume();
  }
  try {
    // Loaded only now, so that a closed standard input or a signal is heeded from the first moment.
    const { startSandbox } = await import("./sandbox.mjs");
    process.stdout.write(`${JSON.stringify(await startSandbox(options))}\n`);
  } catch (problem) {
    process.stderr.write(
      `${problem.code === "EADDRINUSE" ? `port ${problem.port} is in use` : problem.stack}\n`,
    );
    process.exit(1);
  }
}

await main();
