// Starts the real program for a test file and talks to it as a client would.

import { spawn } from "node:child_process";
import { createHash, randomBytes } from "node:crypto";
import { once } from "node:events";
import { request } from "node:http";
import { createInterface } from "node:readline";
import { fileURLToPath } from "node:url";

const server = fileURLToPath(new URL("../server.mjs", import.meta.url));
const anyPorts = ["--http-port", "0", "--https-port", "0", "--identity-port", "0"];

/** The process with its output collected; it ends with this one, whatever happens. */
export function spawnServer(options) {
  const child = spawn(process.execPath, [server, "--die-with-stdin", ...options], { stdio: "pipe" });
  child.output = "";
  child.errors = "";
  child.stdout.on("data", (chunk) => (child.output += chunk));
  child.stderr.on("data", (chunk) => (child.errors += chunk));
  child.ended = once(child, "exit").then(([code]) => code);
  return child;
}

/** @returns {Promise<object>} the ready line's members, `child`, and calls on the running sandbox */
export async function startSandbox(options = []) {
  const child = spawnServer([...anyPorts, ...options]);
  const line = await Promise.race([
    once(createInterface({ input: child.stdout }), "line").then(([text]) => text),
    child.ended.then((code) => {
      throw new Error(`the sandbox ended with ${code}: ${child.errors}`);
    }),
  ]);
  const ready = JSON.parse(line);
  const post = (path, value) =>
    fetch(ready.http + path, { method: "POST", body: JSON.stringify(value ?? {}) });
  return {
    ...ready,
    child,
    api: (path, headers = { "X-API-Key": ready.apiKey }, method = "GET") =>
      fetch(ready.http + path, { method, headers }),
    post: (path) => fetch(ready.http + path, { method: "POST", headers: { "X-API-Key": ready.apiKey } }),
    tryScenario: (patch) => post("/sandbox/scenario", patch),
    scenario: async (patch) => {
      const response = await post("/sandbox/scenario", patch);
      if (response.status !== 200) {
        throw new Error(await response.text());
      }
      return response.json();
    },
    reset: async () => (await post("/sandbox/reset")).json(),
    log: async (since = 0) =>
      (await (await fetch(`${ready.http}/sandbox/log?since=${since}`)).json()).requests,
    token: (form) =>
      fetch(`${ready.identity}/realms/quillo/protocol/openid-connect/token`, {
        method: "POST",
        headers: { "Content-Type": "application/x-www-form-urlencoded" },
        body: new URLSearchParams({ client_id: "quillo-mac", ...form }).toString(),
      }),
    stop: async () => {
      child.stdin.end();
      await child.ended;
    },
  };
}

/** Waits until `condition` gives something true, and returns it; fails after ten seconds. */
export async function eventually(condition) {
  const deadline = Date.now() + 10_000;
  for (;;) {
    const result = await condition();
    if (result) {
      return result;
    }
    if (Date.now() > deadline) {
      throw new Error(`never came true: ${condition}`);
    }
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}

/** One request by Node's own client: older versions' fetch cannot tell several cookies apart. */
async function exchange(url, { method = "GET", headers, body }) {
  const sent = request(url, { method, headers, agent: false }).end(body);
  const [response] = await once(sent, "response");
  const chunks = [];
  for await (const chunk of response) {
    chunks.push(chunk);
  }
  return {
    status: response.statusCode,
    headers: response.headers,
    body: Buffer.concat(chunks).toString("utf8"),
  };
}

/** As much of a browser as a sign-in needs: cookies with paths, and redirects that stop at the program's listener. */
export class Browser {
  #cookies = new Map();

  async request(url, options = {}) {
    const path = new URL(url).pathname;
    const cookie = [...this.#cookies.values()]
      .filter((one) => path.startsWith(one.path))
      .map((one) => one.pair)
      .join("; ");
    const headers = { Accept: "text/html", ...(cookie && { Cookie: cookie }), ...options.headers };
    const { status, headers: received, body } = await exchange(url, { ...options, headers });
    const { "set-cookie": cookies = [], ...others } = received;
    for (const text of cookies) {
      this.#keep(text, path);
    }
    return new Response(body, { status, headers: others });
  }

  /** Follows redirects until a page or the callback. @returns {Promise<{ url: URL, response?: Response }>} */
  async open(url, options = {}) {
    let response = await this.request(url, options);
    let at = new URL(url);
    while (response.status >= 300 && response.status < 400) {
      at = new URL(response.headers.get("location"), at);
      if (at.pathname === "/callback") {
        return { url: at };
      }
      response = await this.request(at.href);
    }
    return { url: at, response };
  }

  submit(url, form) {
    return this.open(url, {
      method: "POST",
      headers: { "Content-Type": "application/x-www-form-urlencoded" },
      body: new URLSearchParams(form).toString(),
    });
  }

  get cookiePaths() {
    return [...this.#cookies.values()].map((one) => one.path);
  }

  #keep(text, requestPath) {
    const [pair, ...attributes] = text.split(";").map((part) => part.trim());
    const attribute = (name) =>
      attributes.find((one) => one.toLowerCase().startsWith(`${name}=`))?.slice(name.length + 1);
    const path = attribute("path") ?? requestPath;
    const key = `${pair.split("=", 1)[0]} ${path}`;
    const expires = attribute("expires");
    if (expires && Date.parse(expires) <= Date.now()) {
      this.#cookies.delete(key);
    } else {
      this.#cookies.set(key, { pair, path });
    }
  }
}

/** One sign-in as the program starts it. */
export function makeAuthorization(sandbox, port = 53682) {
  const verifier = randomBytes(48).toString("base64url");
  const redirectUri = `http://127.0.0.1:${port}/callback`;
  const query = new URLSearchParams({
    response_type: "code",
    client_id: "quillo-mac",
    redirect_uri: redirectUri,
    scope: "openid profile email offline_access",
    code_challenge: createHash("sha256").update(verifier).digest("base64url"),
    code_challenge_method: "S256",
    state: randomBytes(24).toString("base64url"),
  });
  return {
    verifier,
    redirectUri,
    query,
    get url() {
      return `${sandbox.identity}/realms/quillo/protocol/openid-connect/auth?${query}`;
    },
    exchange: (code) =>
      sandbox.token({
        grant_type: "authorization_code",
        code,
        redirect_uri: redirectUri,
        code_verifier: verifier,
      }),
  };
}

/** A whole sign-in. @returns {Promise<object>} the token endpoint's answer */
export async function signIn(sandbox, browser = new Browser()) {
  const authorization = makeAuthorization(sandbox);
  const form = await browser.open(authorization.url);
  const { url } = await browser.submit(form.url.href, { login: sandbox.email, password: sandbox.password });
  const response = await authorization.exchange(url.searchParams.get("code"));
  return response.json();
}
