import assert from "node:assert/strict";
import { after, before, beforeEach, test } from "node:test";

import { decodeJwt } from "jose";

import { Browser, eventually, makeAuthorization, startSandbox } from "../testing/harness.mjs";

let sandbox;
before(async () => (sandbox = await startSandbox()));
after(() => sandbox.stop());
beforeEach(() => sandbox.reset());

const ledger = async () => (await sandbox.api("/api/timeline")).json();
const items = async () => (await (await sandbox.api("/api/status")).json()).items;
const mint = async () => (await sandbox.scenario({ issueTokensFor: sandbox.email })).issued.refreshToken;
const refresh = (token) => sandbox.token({ grant_type: "refresh_token", refresh_token: token });

const linkCases = [
  ["outage", (item) => item.bank_outage.areas.length === 1 && item.hint.length > 0],
  ["reconnect", (item) => item.needs_update && item.error_code === "ITEM_LOGIN_REQUIRED"],
  ["add-card", (item) => item.needs_add_credit && !item.has_credit_account],
  ["normal", (item) => !item.needs_update && !item.needs_add_credit && item.bank_outage === null],
];
for (const [link, holds] of linkCases) {
  test(`link ${link} shows in the first bank link`, async () => {
    await sandbox.scenario({ link });
    assert.ok(holds((await items())[0]));
  });
}

test("several link states at once, and back to normal with null", async () => {
  await sandbox.scenario({ link: ["outage", "reconnect"] });
  const [first] = await items();
  assert.ok(first.needs_update && first.bank_outage);
  await sandbox.scenario({ link: null });
  assert.equal((await items())[0].needs_update, false);
});

test("custom bank links are sent as they are", async () => {
  const custom = [{ item_id: "x", needs_update: "not a boolean", extra: 1 }];
  await sandbox.scenario({ link: { items: custom } });
  assert.deepEqual(await items(), custom);
});

test("wished amounts are sent exactly and the ledger still adds up", async () => {
  await sandbox.scenario({ totalOwed: 1234.567, pending: 0.005 });
  const value = await ledger();
  assert.equal(value.total_owed, 1234.567);
  assert.equal(value.pending_holds, 0.005);
  assert.equal(value.total_with_pending, 1234.572);
  assert.equal(value.available, 10765.428);
  assert.equal(value.transactions[0].running_balance, 1234.572);
  assert.equal(value.transactions[1].running_balance, 1234.567);
  assert.equal(value.transactions.filter((line) => line.pending === 1).length, 1);
});

test("pending none leaves no hold and what is owed as it was", async () => {
  const before = await ledger();
  await sandbox.scenario({ pending: "none" });
  const value = await ledger();
  assert.equal(value.pending_holds, 0);
  assert.equal(value.total_owed, before.total_owed);
  assert.ok(value.transactions.every((line) => line.pending === 0));
  assert.equal(value.transactions[0].running_balance, value.total_owed);
});

test("an empty ledger, and one of a hundred thousand lines", async () => {
  await sandbox.scenario({ lines: 0 });
  const empty = await ledger();
  assert.deepEqual([empty.transactions.length, empty.total_owed], [0, 0]);
  await sandbox.scenario({ lines: 100_000 });
  assert.equal((await ledger()).transactions.length, 100_000);
});

test("a large ledger whose reader goes away leaves the sandbox serving", async () => {
  await sandbox.scenario({ lines: 200_000 });
  const stop = new AbortController();
  const response = await fetch(`${sandbox.http}/api/timeline`, {
    headers: { "X-API-Key": sandbox.apiKey },
    signal: stop.signal,
  });
  assert.equal(response.status, 200);
  stop.abort();
  assert.equal((await sandbox.api("/api/status")).status, 200);
  await eventually(async () => (await sandbox.log()).find((one) => one.path === "/api/timeline").dropped);
});

test("fewer or no snapshots", async () => {
  await sandbox.scenario({ snapshots: 2 });
  assert.equal((await (await sandbox.api("/api/snapshots")).json()).snapshots.length, 2);
  await sandbox.scenario({ snapshots: 0 });
  assert.deepEqual(await (await sandbox.api("/api/snapshots")).json(), { snapshots: [] });
  assert.equal((await sandbox.api("/api/snapshot/2026-11-19")).status, 404);
});

test("an endpoint's status can be wished, the others stay well", async () => {
  await sandbox.scenario({ answers: { status: { status: 503 } } });
  assert.equal((await sandbox.api("/api/status")).status, 503);
  assert.equal((await sandbox.api("/api/timeline")).status, 200);
  await sandbox.scenario({ answers: { status: null } });
  assert.equal((await sandbox.api("/api/status")).status, 200);
});

test("all six endpoints can be wished away at once, one by name still differs", async () => {
  await sandbox.scenario({ answers: { all: { status: 500 }, sync: { status: 204 } } });
  assert.equal((await sandbox.api("/api/snapshots")).status, 500);
  const sync = await sandbox.post("/api/sync");
  assert.equal(sync.status, 204);
  assert.equal(await sync.text(), "");
});

test("a wished answer for a number of requests ends after them", async () => {
  await sandbox.scenario({ answers: { timeline: { status: 500, times: 2 } } });
  const statuses = [];
  for (let request = 0; request < 3; request++) {
    statuses.push((await sandbox.api("/api/timeline")).status);
  }
  assert.deepEqual(statuses, [500, 500, 200]);
});

test("a broken body and headers are sent as wished", async () => {
  await sandbox.scenario({
    answers: { timeline: { body: '{"total_owed":', headers: { "X-Wished": "yes" } } },
  });
  const response = await sandbox.api("/api/timeline");
  assert.equal(response.status, 200);
  assert.equal(response.headers.get("x-wished"), "yes");
  assert.equal(await response.text(), '{"total_owed":');
});

test("a redirect can be wished", async () => {
  await sandbox.scenario({
    answers: { timeline: { status: 302, headers: { Location: "http://127.0.0.1:1/" } } },
  });
  const response = await fetch(`${sandbox.http}/api/timeline`, { redirect: "manual" });
  assert.equal(response.status, 302);
  assert.equal(response.headers.get("location"), "http://127.0.0.1:1/");
});

test("a delayed endpoint answers as usual, later", async () => {
  await sandbox.scenario({ answers: { status: { delayMs: 150 } } });
  const start = performance.now();
  assert.equal((await sandbox.api("/api/status")).status, 200);
  assert.ok(performance.now() - start > 140);
});

test("a delayed token endpoint still reads its form", async () => {
  const token = await mint();
  await sandbox.scenario({ answers: { token: { delayMs: 100 } } });
  assert.equal((await refresh(token)).status, 200);
});

test("a dropped connection and a truncated body fail in the client", async () => {
  await sandbox.scenario({
    answers: { timeline: { drop: true }, status: { truncate: true, body: '{"items":[' } },
  });
  await assert.rejects(sandbox.api("/api/timeline"), TypeError);
  const response = await sandbox.api("/api/status");
  assert.equal(response.status, 200);
  await assert.rejects(response.text(), TypeError);
  assert.ok((await sandbox.log()).every((one) => one.status === null && one.dropped));
});

test("a hanging endpoint says nothing until the reset cuts it", async () => {
  await sandbox.scenario({ answers: { timeline: { hang: true } } });
  const failed = assert.rejects(sandbox.api("/api/timeline"), TypeError);
  const [entry] = await eventually(async () => {
    const requests = await sandbox.log();
    return requests.length > 0 && requests;
  });
  assert.deepEqual([entry.status, entry.dropped], [null, false]);
  await sandbox.reset();
  await failed;
});

test("the token endpoint can refuse, fail and break", async () => {
  const token = await mint();
  await sandbox.scenario({ answers: { token: { status: 400, body: "x".repeat(500), times: 1 } } });
  const refused = await refresh(token);
  assert.equal(refused.status, 400);
  assert.equal((await refused.text()).length, 500);
  await sandbox.scenario({ answers: { token: { drop: true, times: 1 } } });
  await assert.rejects(refresh(token), TypeError);
  assert.equal((await refresh(token)).status, 200);
});

test("the provider can be down and comes back on its port with its tokens", async () => {
  const token = await mint();
  await sandbox.scenario({ identity: { down: true } });
  await assert.rejects(refresh(token), (problem) => problem.cause.code === "ECONNREFUSED");
  await assert.rejects(fetch(makeAuthorization(sandbox).url), TypeError);
  assert.equal((await sandbox.api("/api/timeline")).status, 200);
  await sandbox.scenario({ identity: { down: null } });
  assert.equal((await refresh(token)).status, 200);
});

test("a reset brings the provider back", async () => {
  await sandbox.scenario({ identity: { down: true } });
  await sandbox.reset();
  assert.equal((await new Browser().open(makeAuthorization(sandbox).url)).response.status, 200);
});

test("a minted refresh token works like one from a sign-in", async () => {
  const { issued } = await sandbox.scenario({ issueTokensFor: sandbox.email });
  assert.equal(issued.email, sandbox.email);
  const tokens = await (await refresh(issued.refreshToken)).json();
  assert.equal(decodeJwt(tokens.access_token).email, sandbox.email);
  assert.equal(
    (await sandbox.api("/api/timeline", { Authorization: `Bearer ${tokens.access_token}` })).status,
    200,
  );
  assert.notEqual(tokens.refresh_token, issued.refreshToken);
  assert.equal((await refresh(issued.refreshToken)).status, 400);
  assert.equal((await refresh(tokens.refresh_token)).status, 400);
});

test("revoked refresh tokens are unknown", async () => {
  const token = await mint();
  await sandbox.scenario({ revokeRefreshTokens: true });
  const response = await refresh(token);
  assert.equal(response.status, 400);
  assert.equal((await response.json()).error, "invalid_grant");
});

test("the life of an access token and its e-mail can be wished", async () => {
  await sandbox.scenario({ identity: { accessTokenSeconds: 31, emailClaim: "other@quillo.example" } });
  let tokens = await (await refresh(await mint())).json();
  assert.equal(tokens.expires_in, 31);
  assert.equal(decodeJwt(tokens.access_token).email, "other@quillo.example");
  await sandbox.scenario({ identity: { emailClaim: "none" } });
  tokens = await (await refresh(await mint())).json();
  assert.equal("email" in decodeJwt(tokens.access_token), false);
  assert.equal(tokens.expires_in, 31);
});

test("a wish that is not understood is refused whole, with the reason", async () => {
  const cases = [
    [{ lnk: "outage" }, /lnk: no such key/],
    [{ link: "sunny" }, /link: wanted/],
    [{ link: "outage", lines: 1_000_001 }, /lines: wanted a whole number/],
    [{ pending: "some" }, /pending: wanted/],
    [{ answers: { timelines: {} } }, /answers\.timelines: no such endpoint/],
    [{ answers: { timeline: { code: 1 } } }, /answers\.timeline\.code: no such key/],
    [{ answers: { timeline: { status: 42 } } }, /answers\.timeline\.status: wanted/],
    [{ answers: [] }, /answers: wanted an object/],
    [{ identity: { accessTokenSeconds: 0 } }, /identity\.accessTokenSeconds: wanted/],
    [{ identity: 3 }, /identity: wanted an object/],
    [{ link: "outage", issueTokensFor: "nobody@quillo.example" }, /issueTokensFor: no account/],
    [[], /scenario: wanted an object/],
    [null, /scenario: wanted an object/],
  ];
  for (const [patch, reason] of cases) {
    const response = await fetch(`${sandbox.http}/sandbox/scenario`, {
      method: "POST",
      body: JSON.stringify(patch),
    });
    assert.equal(response.status, 400, JSON.stringify(patch));
    assert.match((await response.json()).message, reason);
  }
  const broken = await fetch(`${sandbox.http}/sandbox/scenario`, { method: "POST", body: "{" });
  assert.equal(broken.status, 400);
  assert.equal((await items())[0].bank_outage, null);
});

test("a reset forgets wishes, arrivals, tokens and the log", async () => {
  const fresh = await ledger();
  const token = await mint();
  await sandbox.scenario({ link: "outage", totalOwed: 5 });
  await sandbox.post("/api/refresh");
  await sandbox.reset();
  assert.deepEqual(await sandbox.log(), []);
  assert.deepEqual(await ledger(), fresh);
  assert.equal((await items())[0].bank_outage, null);
  assert.equal((await refresh(token)).status, 400);
});

test("the wishes in force can be read", async () => {
  await sandbox.scenario({ link: "outage", answers: { sync: { status: 500 } } });
  const { scenario } = await (await fetch(`${sandbox.http}/sandbox/scenario`)).json();
  assert.deepEqual(scenario, { link: "outage", identity: {}, answers: { sync: { status: 500 } } });
});

test("a web page may not steer the sandbox", async () => {
  const headers = { Origin: "http://example.com", "Content-Type": "text/plain" };
  const response = await fetch(`${sandbox.http}/sandbox/scenario`, {
    method: "POST",
    headers,
    body: '{"link":"outage"}',
  });
  assert.equal(response.status, 403);
});
