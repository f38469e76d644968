// What the sandbox's listeners share: answering, reading a body, and loopback-only listening.

import { contentPolicy } from "./pages.mjs";

export const loopback = "127.0.0.1";

/** Listens on loopback; port 0 takes any free one. Resolves to the port, rejects when it is taken. */
export function listen(server, port) {
  return new Promise((resolve, reject) => {
    server.once("error", reject);
    server.listen({ host: loopback, port }, () => {
      server.removeListener("error", reject);
      resolve(server.address().port);
    });
  });
}

/** Stops listening and cuts what is still connected. */
export function close(server) {
  return new Promise((resolve) => {
    server.close(resolve);
    server.closeAllConnections();
  });
}

export function sendJson(response, status, value, headers = {}) {
  sendText(response, status, JSON.stringify(value), { "Content-Type": "application/json", ...headers });
}

/** An error as the backend's reference describes it: a name for programs, a sentence for people. */
export function sendError(response, status, error, message, headers = {}) {
  sendJson(response, status, { error, message }, headers);
}

export function sendPage(response, status, html, policy = contentPolicy()) {
  sendText(response, status, html, {
    "Content-Type": "text/html; charset=utf-8",
    "Content-Security-Policy": policy,
    "Referrer-Policy": "no-referrer",
    "X-Content-Type-Options": "nosniff",
  });
}

export function sendText(response, status, text, headers) {
  const body = Buffer.from(text);
  // RFC 9110, section 8.6: a 204 carries no Content-Length.
  const length = status === 204 ? {} : { "Content-Length": body.length };
  response.writeHead(status, { "Cache-Control": "no-store", ...length, ...headers });
  response.end(body);
}

/** The whole body as text; rejects when it is longer than `limit` bytes. */
export async function readBody(request, limit) {
  const chunks = [];
  let length = 0;
  for await (const chunk of request) {
    length += chunk.length;
    if (length > limit) {
      throw new RangeError(`body over ${limit} bytes`);
    }
    chunks.push(chunk);
  }
  return Buffer.concat(chunks).toString("utf8");
}
