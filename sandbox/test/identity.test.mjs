import assert from "node:assert/strict";
import { after, before, beforeEach, test } from "node:test";

import { decodeJwt, decodeProtectedHeader } from "jose";

import { Browser, makeAuthorization, signIn, startSandbox } from "../testing/harness.mjs";

let sandbox;
before(async () => (sandbox = await startSandbox()));
after(() => sandbox.stop());
beforeEach(() => sandbox.reset());

const refresh = (token) => sandbox.token({ grant_type: "refresh_token", refresh_token: token });

async function refusal(response) {
  return [response.status, (await response.json()).error];
}

test("a sign-in in the browser ends with tokens", async () => {
  const browser = new Browser();
  const authorization = makeAuthorization(sandbox);
  const form = await browser.open(authorization.url);
  assert.match(form.url.pathname, /^\/realms\/quillo\/login\//);

  const { url } = await browser.submit(form.url.href, { login: sandbox.email, password: sandbox.password });
  assert.equal(url.origin + url.pathname, "http://127.0.0.1:53682/callback");
  assert.equal(url.searchParams.get("state"), authorization.query.get("state"));
  assert.equal(url.searchParams.get("iss"), `${sandbox.identity}/realms/quillo`);

  const response = await authorization.exchange(url.searchParams.get("code"));
  assert.equal(response.status, 200);
  const tokens = await response.json();
  assert.equal(tokens.token_type, "Bearer");
  assert.equal(tokens.expires_in, 300);
  assert.equal(typeof tokens.refresh_token, "string");
  const claims = decodeJwt(tokens.access_token);
  assert.equal(claims.email, sandbox.email);
  assert.equal(claims.iss, `${sandbox.identity}/realms/quillo`);
  assert.equal(claims.aud, "urn:quillo:backend");
  assert.equal(decodeProtectedHeader(tokens.access_token).typ, "at+jwt");
});

test("both of the program's ports are known", async () => {
  for (const port of [53682, 53683]) {
    const { response } = await new Browser().open(makeAuthorization(sandbox, port).url);
    assert.equal(response.status, 200);
  }
});

test("a redirect to another host or path is refused without redirecting", async () => {
  for (const uri of [
    "http://127.0.0.1:53682/elsewhere",
    "http://localhost:53682/callback",
    "https://quillo.example/callback",
  ]) {
    const authorization = makeAuthorization(sandbox);
    authorization.query.set("redirect_uri", uri);
    const { response } = await new Browser().open(authorization.url);
    assert.equal(response.status, 400);
    assert.match(await response.text(), /invalid_redirect_uri/);
  }
});

test("form values with every sign escaped are understood", async () => {
  const { refresh_token: token } = await signIn(sandbox);
  const escape = (text) =>
    text.replace(/[^A-Za-z0-9]/g, (sign) => `%${sign.charCodeAt(0).toString(16).padStart(2, "0")}`);
  const response = await fetch(`${sandbox.identity}/realms/quillo/protocol/openid-connect/token`, {
    method: "POST",
    headers: { "Content-Type": "application/x-www-form-urlencoded" },
    body: `grant_type=${escape("refresh_token")}&client_id=${escape("quillo-mac")}&refresh_token=${escape(token)}`,
  });
  assert.equal(response.status, 200);
});

test("the login form is labelled, keeps to its own style and may lead to the program's listener", async () => {
  const { response } = await new Browser().open(makeAuthorization(sandbox).url);
  assert.equal(response.status, 200);
  const html = await response.text();
  for (const name of ["login", "password"]) {
    assert.match(html, new RegExp(`<label for="${name}">`));
    assert.match(html, new RegExp(`<input id="${name}" name="${name}"`));
  }
  assert.match(html, /<button [^>]*>Sign in<\/button>/);
  assert.match(html, /<button [^>]*>Cancel<\/button>/);
  const policy = response.headers.get("content-security-policy");
  assert.match(policy, /form-action 'self' http:\/\/127\.0\.0\.1:53682 http:\/\/127\.0\.0\.1:53683;/);
  assert.doesNotMatch(html, /https?:\/\//);
});

test("a wrong password or e-mail shows the form again with a reason, and the right one then works", async () => {
  const browser = new Browser();
  const form = await browser.open(makeAuthorization(sandbox).url);
  const wrong = [
    { login: sandbox.email, password: "wrong" },
    { login: sandbox.email, password: "" },
    { login: "nobody@quillo.example", password: sandbox.password },
    { login: '"><script>', password: "x" },
    {},
  ];
  for (const attempt of wrong) {
    const { response } = await browser.submit(form.url.href, attempt);
    assert.equal(response.status, 401);
    const html = await response.text();
    assert.match(html, /role="alert"/);
    assert.doesNotMatch(html, /<script>/);
  }
  const { url } = await browser.submit(form.url.href, {
    login: ` ${sandbox.email.toUpperCase()} `,
    password: sandbox.password,
  });
  assert.ok(url.searchParams.get("code"));
});

test("Cancel goes back to the program with access_denied and no code", async () => {
  const browser = new Browser();
  const authorization = makeAuthorization(sandbox);
  const form = await browser.open(authorization.url);
  const { url } = await browser.submit(form.url.href, { action: "cancel" });
  assert.equal(url.pathname, "/callback");
  assert.equal(url.searchParams.get("error"), "access_denied");
  assert.equal(url.searchParams.get("code"), null);
  assert.equal(url.searchParams.get("state"), authorization.query.get("state"));
});

test("the second sign-in of the same browser needs no form, until sessions are forgotten", async () => {
  const browser = new Browser();
  await signIn(sandbox, browser);
  const again = await browser.open(makeAuthorization(sandbox).url);
  assert.ok(again.url.searchParams.get("code"));
  await sandbox.scenario({ forgetSessions: true });
  assert.match((await browser.open(makeAuthorization(sandbox).url)).url.pathname, /\/login\//);
});

test("no cookie reaches beyond the realm's path", async () => {
  const browser = new Browser();
  await signIn(sandbox, browser);
  assert.ok(browser.cookiePaths.length > 0);
  assert.ok(
    browser.cookiePaths.every((path) => path.startsWith("/realms/quillo")),
    String(browser.cookiePaths),
  );
});

test("a login page without its cookie says that it has expired", async () => {
  const form = await new Browser().open(makeAuthorization(sandbox).url);
  const { response } = await new Browser().submit(form.url.href, {
    login: sandbox.email,
    password: sandbox.password,
  });
  assert.equal(response.status, 400);
  assert.match(await response.text(), /has expired/);
});

test("a request without PKCE or with the plain method is refused", async () => {
  for (const change of [
    (query) => query.delete("code_challenge"),
    (query) => query.set("code_challenge_method", "plain"),
  ]) {
    const authorization = makeAuthorization(sandbox);
    change(authorization.query);
    const { url } = await new Browser().open(authorization.url);
    assert.equal(url.searchParams.get("error"), "invalid_request");
  }
});

test("an unknown client sees an error page without foreign hosts", async () => {
  const authorization = makeAuthorization(sandbox);
  authorization.query.set("client_id", "stranger");
  const { response } = await new Browser().open(authorization.url);
  assert.equal(response.status, 400);
  const html = await response.text();
  assert.match(html, /invalid_client/);
  assert.doesNotMatch(html, /https?:\/\//);
  assert.match(response.headers.get("content-security-policy"), /default-src 'none'/);
});

test("a code works once, with its own verifier and redirect only", async () => {
  const browser = new Browser();
  const first = makeAuthorization(sandbox);
  const form = await browser.open(first.url);
  const { url } = await browser.submit(form.url.href, { login: sandbox.email, password: sandbox.password });
  const code = url.searchParams.get("code");
  const foreign = await sandbox.token({
    grant_type: "authorization_code",
    code,
    redirect_uri: first.redirectUri,
    code_verifier: "a".repeat(64),
  });
  assert.deepEqual(await refusal(foreign), [400, "invalid_grant"]);
  assert.equal((await first.exchange(code)).status, 200);
  assert.deepEqual(await refusal(await first.exchange(code)), [400, "invalid_grant"]);
});

test("a refresh rotates the token and keeps the e-mail", async () => {
  const first = await signIn(sandbox);
  const response = await refresh(first.refresh_token);
  assert.equal(response.status, 200);
  const second = await response.json();
  assert.notEqual(second.refresh_token, first.refresh_token);
  assert.notEqual(second.access_token, first.access_token);
  assert.equal(decodeJwt(second.access_token).email, sandbox.email);
  assert.equal((await refresh(second.refresh_token)).status, 200);
});

test("using an old refresh token again ends the whole family", async () => {
  const first = await signIn(sandbox);
  const second = await (await refresh(first.refresh_token)).json();
  assert.deepEqual(await refusal(await refresh(first.refresh_token)), [400, "invalid_grant"]);
  assert.deepEqual(await refusal(await refresh(second.refresh_token)), [400, "invalid_grant"]);
});

test("one family's end leaves another person's browser alone", async () => {
  const first = await signIn(sandbox);
  const other = await signIn(sandbox);
  await (await refresh(first.refresh_token)).json();
  assert.equal((await refresh(first.refresh_token)).status, 400);
  assert.equal((await refresh(other.refresh_token)).status, 200);
});

test("an unknown client at the token endpoint is 401", async () => {
  const response = await sandbox.token({
    client_id: "stranger",
    grant_type: "refresh_token",
    refresh_token: "x",
  });
  assert.deepEqual(await refusal(response), [401, "invalid_client"]);
});

test("discovery names the two fixed paths", async () => {
  const issuer = `${sandbox.identity}/realms/quillo`;
  const document = await (await fetch(`${issuer}/.well-known/openid-configuration`)).json();
  assert.equal(document.issuer, issuer);
  assert.equal(document.authorization_endpoint, `${issuer}/protocol/openid-connect/auth`);
  assert.equal(document.token_endpoint, `${issuer}/protocol/openid-connect/token`);
  const { keys } = await (await fetch(document.jwks_uri)).json();
  assert.equal(keys.length, 1);
  assert.equal(keys[0].d, undefined);
});

test("the log knows a sign-in's steps and nothing secret in them", async () => {
  const { refresh_token: token } = await signIn(sandbox);
  await refresh(token);
  const requests = (await sandbox.log()).filter((one) => one.listener === "identity");
  const tokenRequests = requests.filter((one) => one.path.endsWith("/token"));
  assert.deepEqual(
    tokenRequests.map((one) => [one.grantType, one.status]),
    [
      ["authorization_code", 200],
      ["refresh_token", 200],
    ],
  );
  assert.ok(requests[0].queryNames.includes("code_challenge"));
  assert.doesNotMatch(JSON.stringify(requests), new RegExp(`${token}|${sandbox.password}`));
});
