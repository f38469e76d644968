import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { once } from "node:events";
import { createServer } from "node:http";
import { after, before, beforeEach, test } from "node:test";
import { fileURLToPath } from "node:url";
import { gzipSync } from "node:zlib";

import { Asking } from "../asking.mjs";
import { eventually, startSandbox } from "../testing/harness.mjs";

const program = fileURLToPath(new URL("../check.mjs", import.meta.url));

let sandbox;

before(async () => (sandbox = await startSandbox()));
after(() => sandbox.stop());
beforeEach(async () => {
  await sandbox.reset();
  await sandbox.scenario({ snapshots: 2 });
});

/** Runs the check to its end. */
async function check(options, { environment = {}, input = "" } = {}) {
  const child = spawn(process.execPath, [program, ...options], { env: environment });
  let output = "";
  let errors = "";
  child.stdout.on("data", (piece) => (output += piece));
  child.stderr.on("data", (piece) => (errors += piece));
  child.stdin.on("error", () => {}); // one that has ended over its command line reads nothing
  child.stdin.end(input);
  const [status] = await once(child, "close");
  return { status, output, errors, lines: output.trimEnd().split("\n") };
}

const checkSandbox = (options = []) =>
  check([...options, sandbox.http], { environment: { QUILLO_API_KEY: sandbox.apiKey } });

/** The one line about a request. */
function lineAbout(path, { lines }) {
  const about = lines.filter((line) => line.split(/ +/)[2] === path);
  assert.equal(about.length, 1, lines.join("\n"));
  return about[0];
}

test("every answer of the sandbox is taken", async () => {
  const result = await checkSandbox(["--post"]);
  assert.equal(result.errors, "");
  assert.equal(result.status, 0);
  assert.equal(result.lines.at(-1), "Quillo takes all of it.");
  assert.equal(result.lines.length, 3 + 2 + 2 + 1);
  assert.ok(result.lines.slice(0, -1).every((line) => line.startsWith("ok ")));
});

test("nothing that changes or costs anything is sent unless asked for", async () => {
  await checkSandbox();
  const methods = (await sandbox.log()).map((entry) => entry.method);
  assert.deepEqual(new Set(methods), new Set(["GET"]));
});

test("requests are those of the program", async () => {
  await checkSandbox();
  const { headers, credential, contentType } = (await sandbox.log())[0];
  assert.equal(credential, "api-key");
  assert.equal(contentType, null);
  assert.deepEqual([...headers].sort(), ["Accept-Encoding", "Connection", "Host", "User-Agent", "X-API-Key"]);
});

test("the first fault of a body is told as a person would read it", async () => {
  const body = '{"items": [{"item_id": "a", "needs_update": 1}]}';
  await sandbox.scenario({ answers: { status: { body } } });
  const result = await checkSandbox();
  assert.equal(result.status, 1);
  assert.match(
    lineAbout("/api/status", result),
    /^refused .* items\[0\]\.needs_update: expected a boolean, found a number$/,
  );
  assert.match(lineAbout("/api/timeline", result), /^ok /);
  assert.equal(result.lines.at(-1), "Quillo refuses 1 of these answers.");
});

test("each wrong snapshot is named", async () => {
  await sandbox.scenario({ answers: { snapshot: { body: "{}", times: 1 } } });
  const result = await checkSandbox();
  assert.match(lineAbout("/api/snapshot/2026-11-19", result), /^refused .* total_owed: missing$/);
  assert.match(lineAbout("/api/snapshot/2026-11-18", result), /^ok /);
});

for (const [what, answer, refusal] of [
  ["a success without a body", { status: 204 }, "body: empty"],
  ["a redirect", { status: 302, headers: { Location: "/" } }, "HTTP 302 (redirects are not followed)"],
  ["a refused credential", { status: 401 }, "Sign-in rejected (401)"],
  ["a failure", { status: 503 }, "HTTP 503"],
  ["a connection closed without a word", { drop: true }, "the connection was closed without an answer"],
  ["a body cut short", { truncate: true }, "the body was cut short"],
  [
    "a compression nobody asked for",
    { body: "{}", headers: { "Content-Encoding": "br" } },
    "the body is compressed by br, which was not asked for",
  ],
  [
    "a damaged compressed body",
    { body: "{}", headers: { "Content-Encoding": "gzip" } },
    "the compressed body is damaged",
  ],
]) {
  test(`${what} is refused`, async () => {
    await sandbox.scenario({ answers: { timeline: answer } });
    const result = await checkSandbox();
    assert.equal(result.status, 1);
    assert.ok(lineAbout("/api/timeline", result).endsWith(` ${refusal}`), result.output);
  });
}

test("a failed post is refused", async () => {
  await sandbox.scenario({ answers: { refresh: { status: 429 } } });
  const result = await checkSandbox(["--post"]);
  assert.match(lineAbout("/api/refresh", result), /^refused .* HTTP 429$/);
  assert.match(lineAbout("/api/sync", result), /^ok .* HTTP 200$/);
});

test("a certificate of one's own making is refused unless told otherwise", async () => {
  const environment = { QUILLO_API_KEY: sandbox.apiKey };
  const strict = await check([sandbox.https], { environment });
  assert.equal(strict.status, 1);
  assert.match(lineAbout("/api/status", strict), /^refused .*certificate/);
  assert.equal((await check(["--no-verify", sandbox.https], { environment })).status, 0);
});

test("the key may come by standard input, or an access token by the environment", async () => {
  assert.equal((await check([sandbox.http], { input: `${sandbox.apiKey}\n` })).status, 0);
  const { issued } = await sandbox.scenario({ issueTokensFor: sandbox.email });
  const form = { grant_type: "refresh_token", refresh_token: issued.refreshToken };
  const { access_token: token } = await (await sandbox.token(form)).json();
  assert.equal((await check([sandbox.http], { environment: { QUILLO_ACCESS_TOKEN: token } })).status, 0);
});

test("a wrong command line is told, and asks nobody", async () => {
  const key = { QUILLO_API_KEY: "key" };
  for (const [options, environment] of [
    [[], key],
    [[sandbox.http, "quillo-sandbox-api-key"], key],
    [["--api-key", "key", sandbox.http], key],
    [[`${sandbox.http}/`], key],
    [["ftp://127.0.0.1"], key],
    [["127.0.0.1:8480"], key],
    [[sandbox.http], {}],
    [[sandbox.http], { QUILLO_API_KEY: "two\nlines" }],
    [[sandbox.http], { ...key, QUILLO_ACCESS_TOKEN: "token" }],
  ]) {
    const result = await check(options, { environment });
    assert.equal(result.status, 2, options.join(" "));
    assert.match(result.errors, /Usage:/);
    assert.equal(result.output, "");
  }
  assert.deepEqual(await sandbox.log(), []);
});

/** What becomes of GET /api/status at a server that answers by `answer`. */
async function refusalOf(answer, patience) {
  const server = createServer(answer);
  server.listen(0, "127.0.0.1");
  await once(server, "listening");
  const origin = `http://127.0.0.1:${server.address().port}`;
  const asking = new Asking(origin, { name: "X-API-Key", value: "key" }, patience && { patience });
  try {
    return await asking.get("/api/status").then(
      (body) => body.toString(),
      (problem) => problem.message,
    );
  } finally {
    server.closeAllConnections();
    server.close();
  }
}

test("a compressed body is read", async () => {
  const refusal = await refusalOf((_request, response) => {
    response.writeHead(200, { "Content-Encoding": "gzip" }).end(gzipSync("{}"));
  });
  assert.equal(refusal, "{}");
});

test("bodies over the bound are refused, announced, sent or inflated", async () => {
  const mebibyte = Buffer.alloc(1024 * 1024);
  const announced = await refusalOf((_request, response) => {
    response.writeHead(200, { "Content-Length": 65 * mebibyte.length }).flushHeaders();
  });
  assert.equal(announced, "the body is larger than 64 MiB");
  const sent = await refusalOf((_request, response) => {
    const writeOn = () => !response.destroyed && response.write(mebibyte, writeOn);
    writeOn();
  });
  assert.equal(sent, "the body is larger than 64 MiB");
  const inflated = await refusalOf((_request, response) => {
    response.writeHead(200, { "Content-Encoding": "gzip" }).end(gzipSync(Buffer.alloc(65 * mebibyte.length)));
  });
  assert.equal(inflated, "the body is too large when decompressed");
});

test("silence is refused, before the answer and within it", async () => {
  const patience = { GET: 50, POST: 50 };
  assert.equal(await refusalOf(() => {}, patience), "nothing came for 0.05 s");
  const begun = await refusalOf((_request, response) => response.write("{"), patience);
  assert.equal(begun, "nothing came for 0.05 s");
});

test("a server that is not there is told", async () => {
  const server = createServer();
  server.listen(0, "127.0.0.1");
  await once(server, "listening");
  const { port } = server.address();
  server.close();
  await eventually(() => !server.listening);
  const result = await check([`http://127.0.0.1:${port}`], { environment: { QUILLO_API_KEY: "key" } });
  assert.equal(result.status, 1);
  assert.match(lineAbout("/api/status", result), /^refused .*ECONNREFUSED/);
});
