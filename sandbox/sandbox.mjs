// The three listeners put together.

import { createServer as createHttpServer } from "node:http";
import { createServer as createHttpsServer } from "node:https";

import { accounts, apiKey } from "./accounts.mjs";
import { makeBackend } from "./backend.mjs";
import { controlPrefix, makeControl } from "./control.mjs";
import { Disturbances } from "./disturbance.mjs";
import { close, listen, loopback, sendError } from "./http.mjs";
import { identityEndpoint, makeIdentity } from "./identity.mjs";
import { Ledger } from "./ledger.mjs";
import { RequestLog } from "./log.mjs";
import { Scenario } from "./scenario.mjs";
import { certificate } from "./tls.mjs";

/**
 * Starts everything and resolves when all three listeners accept connections.
 * @param {{ httpPort: number, httpsPort: number, identityPort: number, state?: string, accessTokenSeconds: number,
 *           asOf: string }} options  port 0: any free one
 * @returns {Promise<object>} what a client needs to know, as the ready line prints it
 */
export async function startSandbox(options) {
  const scenario = new Scenario();
  const log = new RequestLog();
  const disturbances = new Disturbances();
  const ledger = new Ledger(options.asOf, scenario);
  const tls = certificate(options.state);

  // The issuer's name carries the port, so the port is found before there is anything to serve on it.
  let answerIdentity;
  const identityServer = createHttpServer((request, response) => answerIdentity(request, response));
  const identityPort = await listen(identityServer, options.identityPort);
  const identityOrigin = `http://${loopback}:${identityPort}`;
  const identity = await makeIdentity(identityOrigin, () => ({
    accessTokenSeconds: scenario.identity.accessTokenSeconds ?? options.accessTokenSeconds,
    emailClaim: scenario.identity.emailClaim === "none" ? null : scenario.identity.emailClaim,
  }));
  answerIdentity = guarded(async (request, response) => {
    log.add("identity", request, response);
    const endpoint = identityEndpoint(request.url.split("?", 1)[0]);
    const answer = endpoint && scenario.takeAnswer(endpoint);
    if (!(await disturbances.apply(answer, request, response))) {
      await identity.handle(request, response);
    }
  });

  let isIdentityOpen = true;
  const openIdentity = async (wanted) => {
    if (wanted !== isIdentityOpen) {
      isIdentityOpen = wanted;
      await (wanted ? listen(identityServer, identityPort) : close(identityServer));
    }
  };

  const shared = { scenario, ledger, identity, disturbances, log, openIdentity };
  const backend = makeBackend(shared);
  const control = makeControl(shared);
  const serve = (listener) =>
    guarded((request, response) => {
      if (request.url.startsWith(controlPrefix)) {
        return control(request, response);
      }
      log.add(listener, request, response);
      return backend(request, response);
    });
  const httpPort = await listen(createHttpServer(serve("http")), options.httpPort);
  const httpsPort = await listen(createHttpsServer(await tls, serve("https")), options.httpsPort);

  return {
    http: `http://${loopback}:${httpPort}`,
    https: `https://${loopback}:${httpsPort}`,
    identity: identityOrigin,
    apiKey,
    email: accounts[0].email,
    password: accounts[0].password,
  };
}

/** No request may end the process: what went wrong is printed, and the client is told. */
function guarded(handle) {
  return async (request, response) => {
    try {
      await handle(request, response);
    } catch (problem) {
      if (response.destroyed) {
        return;
      }
      console.error(problem);
      if (response.headersSent) {
        response.destroy();
      } else {
        sendError(response, 500, "internal", "the sandbox failed; its standard error says why");
      }
    }
  };
}
