import assert from "node:assert/strict";
import { readFile, mkdtemp, rm } from "node:fs/promises";
import { request as httpsRequest } from "node:https";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, beforeEach, test } from "node:test";

import { SignJWT, UnsecuredJWT, generateKeyPair } from "jose";

import { eventually, signIn, startSandbox } from "../testing/harness.mjs";

let sandbox;
let state;

before(async () => {
  state = await mkdtemp(join(tmpdir(), "quillo-sandbox-"));
  sandbox = await startSandbox(["--state", state]);
});
after(async () => {
  await sandbox.stop();
  await rm(state, { recursive: true });
});
beforeEach(() => sandbox.reset());

const endpoints = [
  ["GET", "/api/timeline"],
  ["GET", "/api/status"],
  ["GET", "/api/snapshots"],
  ["GET", "/api/snapshot/2026-11-19"],
  ["POST", "/api/sync"],
  ["POST", "/api/refresh"],
];

async function accessToken() {
  const { issued } = await sandbox.scenario({ issueTokensFor: sandbox.email });
  return (
    await (await sandbox.token({ grant_type: "refresh_token", refresh_token: issued.refreshToken })).json()
  ).access_token;
}

test("timeline gives the ledger with every key", async () => {
  const response = await sandbox.api("/api/timeline");
  assert.equal(response.status, 200);
  assert.equal(response.headers.get("content-type"), "application/json");
  const ledger = await response.json();
  assert.deepEqual(Object.keys(ledger), [
    "total_owed",
    "pending_holds",
    "total_with_pending",
    "credit_limit",
    "available",
    "as_of",
    "transactions",
  ]);
  assert.equal(ledger.as_of, "2026-11-20 16:05 UTC");
  assert.deepEqual(Object.keys(ledger.transactions[1]), [
    "txn_id",
    "date",
    "amount",
    "merchant",
    "name",
    "pending",
    "running_balance",
    "synthetic",
    "account_mask",
    "note",
  ]);
});

test("status lists two bank links without trouble", async () => {
  const { items } = await (await sandbox.api("/api/status")).json();
  assert.deepEqual(
    items.map((item) => item.institution),
    ["First Harbor Bank", "Lakeside Credit Union"],
  );
  assert.ok(
    items.every(
      (item) => item.needs_update === false && item.needs_add_credit === false && item.bank_outage === null,
    ),
  );
});

test("snapshots lists ninety days and each can be fetched", async () => {
  const { snapshots } = await (await sandbox.api("/api/snapshots")).json();
  assert.equal(snapshots.length, 90);
  for (const summary of [snapshots[0], snapshots[44], snapshots[89]]) {
    const ledger = await (await sandbox.api(`/api/snapshot/${summary.snapshot_date}`)).json();
    assert.equal(ledger.transactions.length, summary.txn_count);
    assert.equal(ledger.as_of, `${summary.snapshot_date} 23:59 UTC`);
  }
});

test("a day without a snapshot is 404", async () => {
  for (const date of ["2026-11-20", "2020-01-01", "", "..", "%2e%2e", "constructor"]) {
    const url = `${sandbox.http}/api/snapshot/${date}`;
    assert.equal((await fetch(url, { headers: { "X-API-Key": sandbox.apiKey } })).status, 404, date);
  }
});

test("sync brings one new line and a later as_of", async () => {
  const earlier = await (await sandbox.api("/api/timeline")).json();
  const response = await sandbox.post("/api/sync");
  assert.equal(response.status, 200);
  assert.deepEqual(await response.json(), { added: 1 });
  const ledger = await (await sandbox.api("/api/timeline")).json();
  assert.deepEqual(ledger.transactions.slice(1), earlier.transactions);
  assert.ok(ledger.as_of > earlier.as_of);
  assert.notEqual(ledger.total_owed, earlier.total_owed);
});

test("refresh brings three new lines, held ones among them, the same after each reset", async () => {
  const run = async () => {
    await sandbox.reset();
    const response = await sandbox.post("/api/refresh");
    assert.equal(response.status, 202);
    await response.arrayBuffer();
    return (await sandbox.api("/api/timeline")).json();
  };
  const first = await run();
  assert.ok(first.transactions.slice(0, 3).some((line) => line.pending === 1));
  assert.deepEqual(await run(), first);
});

test("a request without a credential is 401 everywhere", async () => {
  for (const [method, path] of endpoints) {
    const response = await sandbox.api(path, {}, method);
    assert.equal(response.status, 401, path);
    assert.match(response.headers.get("www-authenticate"), /^Bearer/);
    assert.equal((await response.json()).error, "no_credential");
  }
});

test("an unknown or empty API key is 401", async () => {
  for (const key of ["wrong", "", `${sandbox.apiKey}x`, "ü".repeat(16)]) {
    const response = await sandbox.api("/api/timeline", { "X-API-Key": key });
    assert.equal(response.status, 401);
    assert.equal((await response.json()).error, "invalid_api_key");
  }
});

test("the API key opens every endpoint", async () => {
  for (const [method, path] of endpoints) {
    assert.ok((await sandbox.api(path, { "X-API-Key": sandbox.apiKey }, method)).ok, path);
  }
});

test("the provider's access token opens every endpoint", async () => {
  const token = await accessToken();
  for (const [method, path] of endpoints) {
    assert.ok((await sandbox.api(path, { Authorization: `Bearer ${token}` }, method)).ok, path);
  }
});

test("an access token from a sign-in in the browser opens the ledger", async () => {
  const { access_token: token } = await signIn(sandbox);
  assert.equal((await sandbox.api("/api/timeline", { Authorization: `Bearer ${token}` })).status, 200);
});

test("tokens that the provider did not issue for the backend are 401", async () => {
  const { id_token: idToken, access_token: good } = await signIn(sandbox);
  const { privateKey } = await generateKeyPair("ES256");
  const issuer = `${sandbox.identity}/realms/quillo`;
  const claims = (jwt) =>
    jwt.setIssuer(issuer).setAudience("urn:quillo:backend").setIssuedAt().setExpirationTime("5m");
  const forged = await claims(new SignJWT({}))
    .setProtectedHeader({ alg: "ES256", typ: "at+jwt", kid: "sandbox" })
    .sign(privateKey);
  const tampered = good.replace(/\.[^.]+\./, `.${Buffer.from('{"sub":"person-2"}').toString("base64url")}.`);
  const values = [
    `Bearer ${idToken}`,
    `Bearer ${forged}`,
    `Bearer ${claims(new UnsecuredJWT({})).encode()}`,
    `Bearer ${tampered}`,
    "Bearer",
    "Bearer  ",
    "Bearer not.a.jwt",
    `Basic ${good}`,
    good,
  ];
  for (const value of values) {
    const response = await sandbox.api("/api/timeline", { Authorization: value });
    assert.equal(response.status, 401, value);
    assert.equal((await response.json()).error, "invalid_token");
  }
});

test("another sandbox's token is 401", async () => {
  const other = await startSandbox();
  try {
    const { access_token: token } = await signIn(other);
    assert.equal((await sandbox.api("/api/timeline", { Authorization: `Bearer ${token}` })).status, 401);
  } finally {
    await other.stop();
  }
});

test("an access token stops working when its time is over", async () => {
  await sandbox.scenario({ identity: { accessTokenSeconds: 1 } });
  const headers = { Authorization: `Bearer ${await accessToken()}` };
  await eventually(async () => (await sandbox.api("/api/status", headers)).status === 401);
});

test("a bad bearer token is not saved by a good API key", async () => {
  const headers = { Authorization: "Bearer nonsense", "X-API-Key": sandbox.apiKey };
  assert.equal((await sandbox.api("/api/timeline", headers)).status, 401);
});

test("an endpoint asked with the wrong method is 405 and names the right one", async () => {
  for (const [method, path] of endpoints) {
    const response = await sandbox.api(
      path,
      { "X-API-Key": sandbox.apiKey },
      method === "GET" ? "POST" : "GET",
    );
    assert.equal(response.status, 405, path);
    assert.equal(response.headers.get("allow"), method);
  }
});

test("unknown paths are 404, as JSON under /api/", async () => {
  for (const path of ["/api/", "/api/timeline/", "/api/constructor", "/api/snapshot"]) {
    const response = await sandbox.api(path);
    assert.equal(response.status, 404, path);
    assert.equal((await response.json()).error, "not_found");
  }
  assert.equal((await sandbox.api("//api/timeline")).status, 404);
});

test("the pages need no credential and fetch nothing from elsewhere", async () => {
  for (const [path, heading] of [
    ["/link", "Link a bank"],
    ["/ledger", "Ledger"],
    ["/help", "Quillo help"],
  ]) {
    const response = await fetch(sandbox.http + path);
    assert.equal(response.status, 200);
    const html = await response.text();
    assert.ok(html.includes(`<h1>${heading}</h1>`), path);
    assert.doesNotMatch(html, /(src|href)=|https?:/);
    assert.match(response.headers.get("content-security-policy"), /default-src 'none'/);
  }
});

test("the ledger page shows what the ledger holds, markup in names as text", async () => {
  const html = await (await fetch(`${sandbox.http}/ledger`)).text();
  assert.ok(html.includes("喫茶 さくら 渋谷店"));
  assert.doesNotMatch(html, /Power & Light/);
  await sandbox.scenario({ lines: 3 });
  assert.match(await (await fetch(`${sandbox.http}/ledger`)).text(), /3 of 3 lines/);
});

test("the link page's button mends every link", async () => {
  await sandbox.scenario({ link: ["outage", "reconnect"] });
  assert.match(await (await fetch(`${sandbox.http}/link`)).text(), /needs to be reconnected/);
  assert.equal((await fetch(`${sandbox.http}/link`, { method: "POST", redirect: "manual" })).status, 303);
  const { items } = await (await sandbox.api("/api/status")).json();
  assert.ok(items.every((item) => !item.needs_update && item.bank_outage === null));
});

function overTls(path, options) {
  return new Promise((resolve, reject) => {
    const headers = { "X-API-Key": sandbox.apiKey };
    httpsRequest(sandbox.https + path, { agent: false, headers, ...options }, (response) => {
      response.resume();
      resolve(response.statusCode);
    })
      .on("error", reject)
      .end();
  });
}

test("https serves the same with a self-signed certificate for the loopback address", async () => {
  const { cert } = JSON.parse(await readFile(join(state, "tls.json"), "utf8"));
  assert.equal(await overTls("/api/timeline", { ca: cert }), 200);
  assert.equal(await overTls("/api/timeline", { ca: cert, headers: {} }), 401);
  await assert.rejects(overTls("/api/timeline", {}), { code: "DEPTH_ZERO_SELF_SIGNED_CERT" });
});

test("the log tells what was sent and no secret", async () => {
  await sandbox.api("/api/timeline");
  await sandbox.api("/api/status", { Authorization: "Bearer planted-secret" });
  await sandbox.post("/api/sync");
  const requests = await sandbox.log();
  assert.deepEqual(
    requests.map((one) => [one.method, one.path, one.credential, one.status]),
    [
      ["GET", "/api/timeline", "api-key", 200],
      ["GET", "/api/status", "authorization", 401],
      ["POST", "/api/sync", "api-key", 200],
    ],
  );
  assert.ok(requests[0].headers.includes("X-API-Key") || requests[0].headers.includes("x-api-key"));
  assert.doesNotMatch(JSON.stringify(requests), new RegExp(`planted-secret|${sandbox.apiKey}`));
  assert.deepEqual(await sandbox.log(requests[1].number), requests.slice(2));
});
