// Asks a backend what Quillo would ask it, and tells which answers Quillo would refuse, and why.

import { createInterface } from "node:readline";
import { parseArgs } from "node:util";

import { Asking, sendable } from "./asking.mjs";
import { decode } from "./records.mjs";
import { Refusal } from "./strictJson.mjs";

const usage = `Usage: QUILLO_API_KEY=… node check.mjs [--post] [--no-verify] ORIGIN
       … | node check.mjs [--post] [--no-verify] ORIGIN

Asks the backend at ORIGIN, such as https://money.example.org, as Quillo would, and tells which answers Quillo would
refuse. The credential is the API key in QUILLO_API_KEY or the access token in QUILLO_ACCESS_TOKEN; without either, the
first line of standard input is the API key.

  --post       also send POST /api/sync and POST /api/refresh, of which the second may be billed
  --no-verify  take any certificate

The status is 0 when every answer is taken, 1 when one is refused, 2 for a wrong command line.
`;

function usageError(problem) {
  process.stderr.write(`check: ${problem}\n\n${usage}`);
  process.exit(2);
}

function readOptions() {
  try {
    const { values, positionals } = parseArgs({
      allowPositionals: true,
      options: {
        post: { type: "boolean", default: false },
        "no-verify": { type: "boolean", default: false },
        help: { type: "boolean", default: false },
      },
    });
    return { ...values, positionals };
  } catch (problem) {
    return usageError(problem.message);
  }
}

/** @returns {Promise<{ name: string, value: string }>} the one header that says who is asking */
async function readCredential() {
  const { QUILLO_API_KEY: apiKey, QUILLO_ACCESS_TOKEN: token } = process.env;
  if (apiKey !== undefined && token !== undefined) {
    usageError("QUILLO_API_KEY and QUILLO_ACCESS_TOKEN are both set");
  }
  const credential = token ?? apiKey ?? (await firstLine(process.stdin));
  if (!/^[\x21-\x7e]+$/.test(credential)) {
    usageError("the credential is empty or holds what no header can");
  }
  return token === undefined
    ? { name: "X-API-Key", value: credential }
    : { name: "Authorization", value: `Bearer ${token}` };
}

async function firstLine(stream) {
  for await (const line of stream.isTTY ? [] : createInterface({ input: stream })) {
    return line;
  }
  return "";
}

function isOrigin(text) {
  try {
    return new URL(text).origin === text && /^https?:/.test(text);
  } catch {
    return false;
  }
}

/** Tells of each answer in a line, and counts those that are refused. */
class Report {
  refused = 0;

  /** Runs `ask`, which throws a Refusal or returns what the answer holds. @returns {Promise<any>} that, if anything */
  async note(request, ask, describe) {
    try {
      const found = await ask();
      this.#line("ok", request, describe(found));
      return found;
    } catch (problem) {
      if (!(problem instanceof Refusal)) {
        throw problem;
      }
      this.refused += 1;
      this.#line("refused", request, problem.message);
      return undefined;
    }
  }

  #line(verdict, request, text) {
    console.log(`${verdict.padEnd(8)} ${request.padEnd(28)} ${text}`.trimEnd());
  }
}

const lines = (found) => `${found.length} lines`;

/** As a refresh does: three requests at once. @returns {Promise<string[]>} the days that have a snapshot */
async function checkRefresh(asking, report) {
  const get = (path, record, describe) =>
    report.note(`GET ${path}`, async () => decode(await asking.get(path), record), describe);
  const [, , days] = await Promise.all([
    get("/api/timeline", "ledger", lines),
    get("/api/status", "status", (links) => `${links.length} bank links`),
    get("/api/snapshots", "snapshots", (found) => `${found.length} days`),
  ]);
  return (days ?? []).map((day) => day.get("snapshot_date"));
}

async function checkSnapshots(asking, report, days) {
  for (const day of days) {
    const path = `/api/snapshot/${sendable(day)}`;
    await report.note(`GET ${path}`, async () => decode(await asking.get(path), "ledger"), lines);
  }
}

async function checkPosts(asking, report) {
  for (const path of ["/api/sync", "/api/refresh"]) {
    await report.note(
      `POST ${path}`,
      () => asking.post(path),
      (status) => `HTTP ${status}`,
    );
  }
}

const options = readOptions();
if (options.help) {
  process.stdout.write(usage);
  process.exit(0);
}
const [origin] = options.positionals;
if (options.positionals.length !== 1 || !isOrigin(origin)) {
  usageError("wanted one ORIGIN: scheme, host and, if need be, port, without a slash at the end");
}
const asking = new Asking(origin, await readCredential(), { verify: !options["no-verify"] });
const report = new Report();
const days = await checkRefresh(asking, report);
await checkSnapshots(asking, report, days);
if (options.post) {
  await checkPosts(asking, report);
}
console.log(
  report.refused === 0 ? "Quillo takes all of it." : `Quillo refuses ${report.refused} of these answers.`,
);
process.exitCode = report.refused === 0 ? 0 : 1;
