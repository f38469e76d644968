// The backend: the six endpoints of docs/backend-api.md and the pages that Quillo opens in the browser.

import { timingSafeEqual } from "node:crypto";

import { jwtVerify } from "jose";

import { apiKey } from "./accounts.mjs";
import { sendError, sendJson, sendPage } from "./http.mjs";
import { audience } from "./identity.mjs";
import { linkItems } from "./ledger.mjs";
import { helpPage, ledgerPage, linkPage, problemPage } from "./pages.mjs";

const endpoints = {
  "/api/timeline": { name: "timeline", method: "GET" },
  "/api/status": { name: "status", method: "GET" },
  "/api/snapshots": { name: "snapshots", method: "GET" },
  "/api/sync": { name: "sync", method: "POST" },
  "/api/refresh": { name: "refresh", method: "POST" },
};
const snapshotPrefix = "/api/snapshot/";

function endpointAt(path) {
  if (path.startsWith(snapshotPrefix)) {
    return { name: "snapshot", method: "GET", date: path.slice(snapshotPrefix.length) };
  }
  return Object.hasOwn(endpoints, path) ? endpoints[path] : undefined;
}

/** @returns {(request, response) => Promise<void>} the handler of both listeners */
export function makeBackend({ scenario, ledger, identity, disturbances }) {
  const checkCredential = makeCredentialCheck(identity);

  return async (request, response) => {
    const path = request.url.split("?", 1)[0];
    const endpoint = endpointAt(path);
    if (endpoint === undefined) {
      return path.startsWith("/api/")
        ? sendError(response, 404, "not_found", "there is no such endpoint")
        : servePage(path, request, response, { scenario, ledger });
    }
    if (await disturbances.apply(scenario.takeAnswer(endpoint.name, "all"), request, response)) {
      return undefined;
    }
    request.resume();
    if (request.method !== endpoint.method) {
      const message = `this endpoint takes ${endpoint.method}`;
      return sendError(response, 405, "method_not_allowed", message, { Allow: endpoint.method });
    }
    const problem = await checkCredential(request);
    if (problem) {
      return sendError(response, 401, problem, "sign in or send an API key", {
        "WWW-Authenticate": 'Bearer realm="quillo"',
      });
    }
    return answer(endpoint, response, { scenario, ledger });
  };
}

/** A check that resolves to what is wrong with a request's credential, or null. */
function makeCredentialCheck(identity) {
  const expected = Buffer.from(apiKey);
  const rules = { issuer: identity.issuer, audience, algorithms: ["ES256"], typ: "at+jwt" };
  // Every failure of verification means the same to the client: this token opens nothing.
  const isGoodToken = (token) => jwtVerify(token, identity.keys, rules).then(Boolean, () => false);

  return async (request) => {
    const { authorization, "x-api-key": key } = request.headers;
    if (authorization !== undefined) {
      const [, token] = /^Bearer +([^ ]+)$/i.exec(authorization) ?? [];
      return token !== undefined && (await isGoodToken(token)) ? null : "invalid_token";
    }
    if (key === undefined) {
      return "no_credential";
    }
    const given = Buffer.from(key, "latin1");
    return given.length === expected.length && timingSafeEqual(given, expected) ? null : "invalid_api_key";
  };
}

function answer({ name, date }, response, { scenario, ledger }) {
  switch (name) {
    case "timeline":
      return sendChunks(response, ledger.body());
    case "status":
      return sendJson(response, 200, { items: linkItems(scenario.link) });
    case "snapshots":
      return sendJson(response, 200, { snapshots: ledger.snapshots() });
    case "snapshot": {
      const snapshot = ledger.snapshot(date);
      return snapshot === undefined
        ? sendError(response, 404, "no_snapshot", "there is no snapshot of that day")
        : sendJson(response, 200, snapshot);
    }
    case "sync":
      return sendJson(response, 200, { added: ledger.update("sync") });
    case "refresh":
      ledger.update("refresh");
      return sendJson(response, 202, { queued: true });
    default:
      throw new Error(`no answer for ${name}`);
  }
}

/** Sends a body in pieces, at the pace at which they are taken. */
async function sendChunks(response, chunks) {
  const length = chunks.reduce((sum, chunk) => sum + chunk.length, 0);
  response.writeHead(200, {
    "Content-Type": "application/json",
    "Content-Length": length,
    "Cache-Control": "no-store",
  });
  for (const chunk of chunks) {
    if (response.destroyed) {
      return;
    }
    if (!response.write(chunk)) {
      await new Promise((resolve) => {
        const goOn = () => {
          response.removeListener("drain", goOn);
          response.removeListener("close", goOn);
          resolve();
        };
        response.once("drain", goOn);
        response.once("close", goOn);
      });
    }
  }
  response.end();
}

function servePage(path, request, response, { scenario, ledger }) {
  request.resume();
  const isLinkForm = path === "/link" && request.method === "POST";
  if (isLinkForm) {
    scenario.mendLinks();
    response.writeHead(303, { Location: "/link", "Content-Length": 0 });
    return response.end();
  }
  if (request.method !== "GET") {
    return sendError(response, 405, "method_not_allowed", "this page takes GET", { Allow: "GET" });
  }
  switch (path) {
    case "/link":
      return sendPage(response, 200, linkPage(linkItems(scenario.link).map(problemOf)));
    case "/ledger":
      return sendPage(response, 200, ledgerPage(ledger.current()));
    case "/help":
      return sendPage(response, 200, helpPage());
    default:
      return sendPage(response, 404, problemPage("Not found", "There is no such page here."));
  }
}

function problemOf(item) {
  const problems = [
    item.bank_outage?.areas?.length && "the bank has an outage",
    item.needs_update && "needs to be reconnected",
    item.needs_add_credit && "no credit card is linked",
  ];
  return { institution: item.institution, problem: problems.filter(Boolean).join(", ") || undefined };
}
