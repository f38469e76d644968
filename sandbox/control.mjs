// The sandbox's own endpoints, by which tests change it and look at what it was asked.

import { accountWithEmail } from "./accounts.mjs";
import { readBody, sendError, sendJson } from "./http.mjs";
import { ScenarioError } from "./scenario.mjs";

export const controlPrefix = "/sandbox/";
const longestScenarioBytes = 32 * 1024 * 1024;

/** @returns {(request, response) => Promise<void>} */
export function makeControl({ scenario, ledger, identity, disturbances, log, openIdentity }) {
  const routes = {
    "GET /sandbox/log": (request, response) => {
      const since = Number(new URL(request.url, "http://sandbox").searchParams.get("since") ?? 0);
      sendJson(response, 200, { requests: log.after(since) });
    },
    "GET /sandbox/scenario": (_request, response) => sendJson(response, 200, { scenario }),
    "POST /sandbox/scenario": async (request, response) => {
      const issued = await change(await readPatch(request));
      sendJson(response, 200, { scenario, ...(issued && { issued }) });
    },
    "POST /sandbox/reset": async (request, response) => {
      request.resume();
      scenario.reset();
      ledger.reset();
      log.clear();
      identity.store.clear();
      disturbances.release();
      await openIdentity(true);
      sendJson(response, 200, { scenario });
    },
  };

  async function change(patch) {
    const account = patch?.issueTokensFor == null ? undefined : accountWithEmail(patch.issueTokensFor);
    if (patch?.issueTokensFor != null && account === undefined) {
      throw new ScenarioError("issueTokensFor: no account has that e-mail");
    }
    const actions = scenario.apply(patch);
    await openIdentity(!scenario.isIdentityDown);
    if (actions.revokeRefreshTokens) {
      identity.store.revokeRefreshTokens();
    }
    if (actions.forgetSessions) {
      identity.store.forgetSessions();
    }
    return account && { email: account.email, refreshToken: await identity.mintRefreshToken(account) };
  }

  return async (request, response) => {
    const route = routes[`${request.method} ${request.url.split("?", 1)[0]}`];
    if (route === undefined) {
      return sendError(response, 404, "not_found", `known are ${Object.keys(routes).join(", ")}`);
    }
    // A web page open in the person's browser can reach loopback too; it always says where it comes from.
    if (request.headers.origin !== undefined) {
      return sendError(response, 403, "foreign_origin", "web pages may not steer the sandbox");
    }
    try {
      return await route(request, response);
    } catch (problem) {
      if (problem instanceof ScenarioError) {
        return sendError(response, 400, "bad_scenario", problem.message);
      }
      throw problem;
    }
  };
}

async function readPatch(request) {
  const body = await readBody(request, longestScenarioBytes);
  try {
    return JSON.parse(body);
  } catch {
    throw new ScenarioError("scenario: wanted JSON");
  }
}
