// Requests as Quillo sends them, and what of the answers on the way to their bodies it refuses.

import { request as httpRequest } from "node:http";
import { request as httpsRequest } from "node:https";
import { promisify } from "node:util";
import { gunzip } from "node:zlib";

import { Refusal } from "./strictJson.mjs";

const largestBody = 64 * 1024 * 1024;
const largestHead = 64 * 1024;
const usualPatience = { GET: 20_000, POST: 30_000 };

const unzip = promisify(gunzip);

/** A text of the backend as part of a request's target: as it is, but for what no target may contain. */
export function sendable(text) {
  return text.replace(/[^\x21-\x7e]+/gu, encodeURIComponent);
}

/** The requests to one backend. Every method throws a Refusal for an answer that Quillo would not take. */
export class Asking {
  #origin;
  #credential;
  #verify;
  #patience;

  /**
   * @param {string} origin
   * @param {{ name: string, value: string }} credential  the header that says who is asking
   * @param {{ verify?: boolean, patience?: { GET: number, POST: number } }} options  patience: milliseconds of silence
   */
  constructor(origin, credential, options = {}) {
    this.#origin = origin;
    this.#credential = credential;
    this.#verify = options.verify ?? true;
    this.#patience = options.patience ?? usualPatience;
  }

  /** @returns {Promise<Buffer>} the body */
  async get(path) {
    const response = await this.#send("GET", path);
    return decompressed(response, await bodyOf(response));
  }

  /** @returns {Promise<number>} the status; nobody reads the body */
  async post(path) {
    const response = await this.#send("POST", path);
    response.destroy();
    return response.statusCode;
  }

  async #send(method, path) {
    const response = await this.#exchange(method, path);
    const { statusCode: status } = response;
    if (status < 200 || status > 299) {
      response.destroy();
      const hint = status >= 300 && status < 400 ? " (redirects are not followed)" : "";
      throw new Refusal(status === 401 ? "Sign-in rejected (401)" : `HTTP ${status}${hint}`);
    }
    return response;
  }

  #exchange(method, path) {
    const { name, value } = this.#credential;
    const headers = { Connection: "close", "Accept-Encoding": "gzip", "User-Agent": "Quillo", [name]: value };
    if (method === "POST") {
      headers["Content-Length"] = 0;
    }
    // Node 18 takes an options object with an `href` for an address, and passes over `path`.
    const { protocol, hostname, port } = new URL(this.#origin);
    const options = {
      protocol,
      hostname: hostname.replace(/[[\]]/g, ""),
      port,
      method,
      path,
      headers,
      agent: false,
      maxHeaderSize: largestHead,
      rejectUnauthorized: this.#verify,
    };
    const patience = this.#patience[method];
    return new Promise((resolve, reject) => {
      const send = protocol === "https:" ? httpsRequest : httpRequest;
      const sent = send(options);
      let waitingFor = sent;
      sent.on("response", (response) => resolve((waitingFor = response)));
      sent.on("error", (problem) => reject(asRefusal(problem)));
      sent.setTimeout(patience, () =>
        waitingFor.destroy(new Refusal(`nothing came for ${patience / 1000} s`)),
      );
      sent.end();
    });
  }
}

/** What the network says; a Refusal stays itself. */
function asRefusal(problem) {
  if (problem instanceof Refusal) {
    return problem;
  }
  const sentences = {
    ECONNRESET: "the connection was closed without an answer",
    HPE_HEADER_OVERFLOW: `the head of the answer is larger than ${largestHead / 1024} KiB`,
  };
  const isDamaged = problem.code?.startsWith("HPE_") && "the answer is not valid HTTP";
  return new Refusal(sentences[problem.code] || isDamaged || problem.message || problem.code);
}

async function bodyOf(response) {
  const { "transfer-encoding": framing = "chunked" } = response.headers;
  if (framing.toLowerCase() !== "chunked") {
    response.destroy();
    throw new Refusal(`the body is sent as ${framing}, which was not asked for`);
  }
  const tooLarge = new Refusal(`the body is larger than ${largestBody / 1024 / 1024} MiB`);
  if (Number(response.headers["content-length"] ?? 0) > largestBody) {
    response.destroy();
    throw tooLarge;
  }
  const pieces = [];
  let length = 0;
  try {
    for await (const piece of response) {
      length += piece.length;
      if (length > largestBody) {
        throw tooLarge;
      }
      pieces.push(piece);
    }
  } catch (problem) {
    throw problem.code === "ECONNRESET" ? new Refusal("the body was cut short") : asRefusal(problem);
  }
  return Buffer.concat(pieces);
}

async function decompressed(response, body) {
  const encoding = (response.headers["content-encoding"] ?? "identity").toLowerCase();
  if (encoding === "identity") {
    return body;
  }
  if (encoding !== "gzip" && encoding !== "x-gzip") {
    throw new Refusal(`the body is compressed by ${encoding}, which was not asked for`);
  }
  try {
    return await unzip(body, { maxOutputLength: largestBody });
  } catch (problem) {
    const isTooLarge = problem.code === "ERR_BUFFER_TOO_LARGE";
    throw new Refusal(
      isTooLarge ? "the body is too large when decompressed" : "the compressed body is damaged",
    );
  }
}
