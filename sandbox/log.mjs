// What was asked of the sandbox: enough for a test to prove what a program sent, never a secret.

const longestLog = 100_000;

export class RequestLog {
  #entries = [];
  #next = 1;
  #connections = new WeakMap();
  #connectionCount = 0;

  /**
   * Notes a request as it comes in; its status is filled in when it has been answered.
   * @param {"http" | "https" | "identity"} listener
   */
  add(listener, request, response) {
    const [path, query] = splitTarget(request.url);
    const headers = request.rawHeaders.filter((_, index) => index % 2 === 0);
    const entry = {
      number: this.#next++,
      listener,
      connection: this.#connectionOf(request.socket),
      method: request.method,
      path,
      queryNames: [...new URLSearchParams(query).keys()],
      credential: credentialOf(request),
      headers,
      contentType: request.headers["content-type"] ?? null,
      contentLength:
        request.headers["content-length"] === undefined ? null : Number(request.headers["content-length"]),
      grantType: null,
      status: null,
      dropped: false,
    };
    response.once("finish", () => {
      entry.status = response.statusCode;
      entry.grantType = request.grantType ?? null;
    });
    response.once("close", () => (entry.dropped = !response.writableFinished));
    this.#entries.push(entry);
    if (this.#entries.length > longestLog) {
      this.#entries.shift();
    }
  }

  /** The requests after number `since`, oldest first. */
  after(since) {
    return this.#entries.filter((entry) => entry.number > since);
  }

  clear() {
    this.#entries = [];
  }

  #connectionOf(socket) {
    if (!this.#connections.has(socket)) {
      this.#connections.set(socket, ++this.#connectionCount);
    }
    return this.#connections.get(socket);
  }
}

function splitTarget(target) {
  const mark = target.indexOf("?");
  return mark < 0 ? [target, ""] : [target.slice(0, mark), target.slice(mark + 1)];
}

function credentialOf(request) {
  const bearer = request.headers.authorization !== undefined;
  const key = request.headers["x-api-key"] !== undefined;
  return bearer && key ? "both" : bearer ? "authorization" : key ? "api-key" : "none";
}
