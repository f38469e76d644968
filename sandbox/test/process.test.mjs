import assert from "node:assert/strict";
import { mkdtemp, readFile, rm, stat } from "node:fs/promises";
import { createServer } from "node:net";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { test } from "node:test";

import { spawnServer, startSandbox } from "../testing/harness.mjs";

async function withSandbox(options, use) {
  const sandbox = await startSandbox(options);
  try {
    await use(sandbox);
  } finally {
    await sandbox.stop();
  }
}

test("exactly one line of JSON says that it is ready, with everything a client needs", async () => {
  await withSandbox([], async (sandbox) => {
    await sandbox.api("/api/timeline");
    await sandbox.scenario({ issueTokensFor: sandbox.email });
    assert.deepEqual(Object.keys(JSON.parse(sandbox.child.output)), [
      "http",
      "https",
      "identity",
      "apiKey",
      "email",
      "password",
    ]);
    assert.equal(sandbox.child.output.match(/\n/g).length, 1);
    assert.equal(sandbox.child.errors, "");
  });
});

/** The addresses that listen on a port, from the kernel's own tables, as hexadecimal text. */
async function listeningAddresses(port) {
  const wanted = port.toString(16).toUpperCase().padStart(4, "0");
  const tables = await Promise.all(
    ["/proc/net/tcp", "/proc/net/tcp6"].map((file) =>
      readFile(file, "utf8").catch((problem) => {
        // A kernel without IPv6 has no second table, and so nothing that could listen there.
        if (problem.code === "ENOENT" && file.endsWith("6")) {
          return "";
        }
        throw problem;
      }),
    ),
  );
  return tables
    .join("")
    .split("\n")
    .map((row) => row.trim().split(/\s+/))
    .filter((fields) => fields[3] === "0A" && fields[1]?.endsWith(`:${wanted}`))
    .map((fields) => fields[1].split(":")[0]);
}

test("all three listeners are on 127.0.0.1 only", async () => {
  await withSandbox([], async (sandbox) => {
    for (const url of [sandbox.http, sandbox.https, sandbox.identity]) {
      assert.deepEqual(await listeningAddresses(Number(new URL(url).port)), ["0100007F"], url);
    }
  });
});

test("it ends with its standard input", async () => {
  const sandbox = await startSandbox();
  sandbox.child.stdin.end();
  assert.equal(await sandbox.child.ended, 0);
});

test("it ends on SIGTERM, with a request still hanging", async () => {
  const sandbox = await startSandbox();
  await sandbox.scenario({ answers: { timeline: { hang: true } } });
  const hanging = assert.rejects(sandbox.api("/api/timeline"), TypeError);
  sandbox.child.kill("SIGTERM");
  assert.equal(await sandbox.child.ended, 0);
  await hanging;
});

test("a port that is taken is named and ends it", async () => {
  const holder = createServer();
  await new Promise((resolve) => holder.listen(0, "127.0.0.1", resolve));
  const { port } = holder.address();
  const child = spawnServer(["--http-port", String(port), "--https-port", "0", "--identity-port", "0"]);
  assert.equal(await child.ended, 1);
  assert.equal(child.output, "");
  assert.equal(child.errors, `port ${port} is in use\n`);
  await new Promise((resolve) => holder.close(resolve));
});

test("an option it does not know, or cannot be, ends it with the usage", async () => {
  for (const options of [
    ["--port", "1"],
    ["--http-port", "65536"],
    ["--http-port", "x"],
    ["--as-of", "2026-02-30"],
    ["--access-token-seconds", "0"],
    ["stray"],
  ]) {
    const child = spawnServer(options);
    assert.equal(await child.ended, 2, options.join(" "));
    assert.match(child.errors, /Usage:/);
    assert.equal(child.output, "");
  }
});

test("with a state folder the certificate is kept, private and the same", async () => {
  const parent = await mkdtemp(join(tmpdir(), "quillo-sandbox-"));
  const state = join(parent, "state");
  const file = join(state, "tls.json");
  try {
    await withSandbox(["--state", state], async () => {});
    const made = await readFile(file, "utf8");
    assert.equal((await stat(file)).mode & 0o777, 0o600);
    await withSandbox(["--state", state], async () => {});
    assert.equal(await readFile(file, "utf8"), made);
  } finally {
    await rm(parent, { recursive: true });
  }
});

test("the options reach the data and the tokens", async () => {
  await withSandbox(["--as-of", "2024-03-01", "--access-token-seconds", "77"], async (sandbox) => {
    const ledger = await (await sandbox.api("/api/timeline")).json();
    assert.equal(ledger.transactions[0].date, "2024-03-01");
    const { issued } = await sandbox.scenario({ issueTokensFor: sandbox.email });
    const tokens = await (
      await sandbox.token({ grant_type: "refresh_token", refresh_token: issued.refreshToken })
    ).json();
    assert.equal(tokens.expires_in, 77);
  });
});
