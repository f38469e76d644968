// The identity provider: oidc-provider (a certified implementation), one public client, and a login form of our own.

import { randomBytes } from "node:crypto";

import { createLocalJWKSet, exportJWK, generateKeyPair } from "jose";
import Provider, { interactionPolicy } from "oidc-provider";

import { accountWithEmail, accountWithId } from "./accounts.mjs";
import { readBody, sendPage } from "./http.mjs";
import { IdentityStore } from "./identityStore.mjs";
import { contentPolicy, loginPage, problemPage } from "./pages.mjs";

const realm = "/realms/quillo";
const loginPath = `${realm}/login/`;
const clientId = "quillo-mac";
const scope = "openid profile email offline_access";
const callbackOrigins = ["http://127.0.0.1:53682", "http://127.0.0.1:53683"];
const longestFormBytes = 16_384;
const day = 24 * 60 * 60;

/** Who the access tokens are for: the backend accepts no others. */
export const audience = "urn:quillo:backend";

/** The endpoint of the provider that a path leads to, by the name that scenarios and the log use. */
export function identityEndpoint(path) {
  return {
    [`${realm}/protocol/openid-connect/auth`]: "authorization",
    [`${realm}/protocol/openid-connect/token`]: "token",
  }[path];
}

/**
 * @param {string} origin  where the provider can be reached
 * @param {() => { accessTokenSeconds: number, emailClaim: string? | undefined }} wishes  read at each token issued;
 *        emailClaim: undefined for the account's own, null for none
 */
export async function makeIdentity(origin, wishes) {
  const { privateKey, publicKey } = await generateKeyPair("ES256", { extractable: true });
  const naming = { kid: "sandbox", use: "sig", alg: "ES256" };
  const store = new IdentityStore();
  const issuer = origin + realm;
  const provider = new Provider(
    issuer,
    configuration({
      adapter: store.adapter(),
      privateKey: { ...(await exportJWK(privateKey)), ...naming },
      wishes,
    }),
  );
  for (const event of ["grant.success", "grant.error"]) {
    provider.on(event, (context) => (context.req.grantType = context.oidc?.params?.grant_type));
  }
  const callback = provider.callback();

  return {
    issuer,
    store,
    keys: createLocalJWKSet({ keys: [{ ...(await exportJWK(publicKey)), ...naming }] }),
    handle: (request, response) => handle(provider, callback, request, response),
    mintRefreshToken: (account) => mintRefreshToken(provider, account),
  };
}

function configuration({ adapter, privateKey, wishes }) {
  const policy = interactionPolicy.base();
  policy.remove("consent");
  return {
    adapter,
    jwks: { keys: [privateKey] },
    clients: [
      {
        client_id: clientId,
        application_type: "native",
        token_endpoint_auth_method: "none",
        grant_types: ["authorization_code", "refresh_token"],
        response_types: ["code"],
        redirect_uris: callbackOrigins.map((one) => `${one}/callback`),
        id_token_signed_response_alg: "ES256",
      },
    ],
    // The provider is mounted at the realm's path, so these are relative to it.
    routes: {
      authorization: "/protocol/openid-connect/auth",
      token: "/protocol/openid-connect/token",
      jwks: "/protocol/openid-connect/certs",
      userinfo: "/protocol/openid-connect/userinfo",
      revocation: "/protocol/openid-connect/revoke",
      end_session: "/protocol/openid-connect/logout",
    },
    pkce: { required: () => true, methods: ["S256"] },
    scopes: scope.split(" "),
    claims: { openid: ["sub"], email: ["email", "email_verified"], profile: ["name"] },
    findAccount: (_context, id) => findAccount(id),
    extraTokenClaims: (_context, token) => emailClaim(wishes().emailClaim, token.accountId),
    interactions: { policy, url: (_context, interaction) => loginPath + interaction.uid },
    loadExistingGrant,
    // The client's request carries no prompt, for which oidc-provider would drop offline_access.
    issueRefreshToken: (_context, client) => client.grantTypeAllowed("refresh_token"),
    expiresWithSession: () => false,
    rotateRefreshToken: true,
    // Cookies know nothing of ports: with a wider path they would also reach the program's own loopback listener.
    cookies: {
      keys: [randomBytes(32).toString("hex")],
      long: { path: realm, sameSite: "lax" },
      short: { path: realm, sameSite: "lax" },
    },
    features: {
      devInteractions: { enabled: false },
      revocation: { enabled: true },
      resourceIndicators: {
        enabled: true,
        defaultResource: () => audience,
        useGrantedResource: () => true,
        getResourceServerInfo: () => ({
          audience,
          scope: "",
          accessTokenFormat: "jwt",
          jwt: { sign: { alg: "ES256" } },
        }),
      },
    },
    ttl: {
      AccessToken: () => wishes().accessTokenSeconds,
      AuthorizationCode: 60,
      Grant: 30 * day,
      IdToken: 300,
      Interaction: 60 * 60,
      RefreshToken: 30 * day,
      Session: day,
    },
    renderError: (context, out) => {
      context.type = "html";
      context.set("Content-Security-Policy", contentPolicy());
      context.body = problemPage("Sign-in failed", `${out.error}: ${out.error_description ?? ""}`);
    },
  };
}

function findAccount(id) {
  const account = accountWithId(id);
  return (
    account && {
      accountId: account.id,
      claims: () => ({ sub: account.id, email: account.email, email_verified: true, name: account.name }),
    }
  );
}

function emailClaim(wished, accountId) {
  const email = wished === undefined ? accountWithId(accountId)?.email : wished;
  return email == null ? {} : { email };
}

/** There is no consent page: being the program's own provider, it grants what the program asks for. */
async function loadExistingGrant(context) {
  const { client, session, provider } = context.oidc;
  const grantId = session.grantIdFor(client.clientId);
  const known = grantId && (await provider.Grant.find(grantId));
  return known || newGrant(provider, session.accountId);
}

async function newGrant(provider, accountId) {
  const grant = new provider.Grant({ accountId, clientId });
  grant.addOIDCScope(scope);
  await grant.save();
  return grant;
}

/** A refresh token as a sign-in in the browser would have given, without one. */
async function mintRefreshToken(provider, account) {
  const grant = await newGrant(provider, account.id);
  const token = new provider.RefreshToken({
    accountId: account.id,
    client: await provider.Client.find(clientId),
    expiresWithSession: false,
    grantId: grant.jti,
    gty: "authorization_code",
    resource: audience,
    scope,
  });
  return token.save();
}

async function handle(provider, callback, request, response) {
  const path = request.url.split("?", 1)[0];
  if (path.startsWith(loginPath)) {
    return handleLogin(provider, request, response);
  }
  if (!path.startsWith(`${realm}/`)) {
    return sendPage(response, 404, problemPage("Not found", "There is no such page here."));
  }
  // As Express mounts an application: the provider finds its own prefix by comparing the two.
  request.originalUrl = request.url;
  request.url = request.url.slice(realm.length);
  return callback(request, response);
}

async function handleLogin(provider, request, response) {
  try {
    await provider.interactionDetails(request, response);
  } catch {
    // Whatever the reason, the way out is the same: the cookie is missing, foreign, or older than an hour.
    return sendPage(
      response,
      400,
      problemPage("This sign-in page has expired", "Go back to Quillo and sign in again."),
    );
  }
  const policy = contentPolicy(["'self'", ...callbackOrigins]);
  if (request.method === "GET") {
    return sendPage(response, 200, loginPage(), policy);
  }
  if (request.method !== "POST") {
    response.setHeader("Allow", "GET, POST");
    return sendPage(response, 405, problemPage("Not possible", "This page takes GET and POST only."));
  }
  const form = new URLSearchParams(await readBody(request, longestFormBytes));
  if (form.get("action") === "cancel") {
    const result = { error: "access_denied", error_description: "the person cancelled the sign-in" };
    return provider.interactionFinished(request, response, result, { mergeWithLastSubmission: false });
  }
  const login = form.get("login") ?? "";
  const account = accountWithEmail(login);
  if (account === undefined || account.password !== form.get("password")) {
    const problem = "That e-mail and password do not go together.";
    return sendPage(response, 401, loginPage({ login, problem }), policy);
  }
  const result = { login: { accountId: account.id, amr: ["pwd"] } };
  return provider.interactionFinished(request, response, result, { mergeWithLastSubmission: false });
}
