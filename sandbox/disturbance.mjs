// Answers that a scenario wishes in place of an endpoint's own: errors, delays, broken bodies, silence.

import { setTimeout as wait } from "node:timers/promises";

import { sendError, sendText } from "./http.mjs";

/** Requests that are being kept waiting on purpose, so that a reset can let them go. */
export class Disturbances {
  #waiting = new Set();

  /** Does what `answer` wishes. @returns {Promise<boolean>} false when the endpoint should now answer as usual */
  async apply(answer, request, response) {
    if (answer === undefined) {
      return false;
    }
    if (answer.delayMs && !(await this.#delay(answer.delayMs, response))) {
      return true;
    }
    if (answer.drop) {
      request.socket.destroy();
      return true;
    }
    if (answer.hang) {
      this.#hold(response, () => response.destroy());
      return true;
    }
    return reply(answer, request, response);
  }

  /** Ends every delay and cuts every request left hanging. */
  release() {
    for (const letGo of this.#waiting) {
      letGo();
    }
    this.#waiting.clear();
  }

  #hold(response, letGo) {
    this.#waiting.add(letGo);
    response.once("close", () => this.#waiting.delete(letGo));
  }

  /** @returns {Promise<boolean>} whether there is still somebody to answer */
  async #delay(milliseconds, response) {
    const ending = new AbortController();
    const end = () => ending.abort();
    this.#hold(response, end);
    response.once("close", end);
    await wait(milliseconds, undefined, { signal: ending.signal }).catch((problem) => {
      if (problem.name !== "AbortError") {
        throw problem;
      }
    });
    this.#waiting.delete(end);
    return !response.destroyed;
  }
}

function reply({ status, body, headers, truncate }, request, response) {
  const isOwnAnswer = status !== undefined || body !== undefined || headers !== undefined || truncate;
  if (!isOwnAnswer) {
    return false;
  }
  request.resume();
  if (truncate) {
    const text = Buffer.from(body ?? '{"transactions":[');
    response.writeHead(status ?? 200, {
      "Content-Type": "application/json",
      "Content-Length": text.length + 100,
    });
    response.write(text, () => response.destroy());
    return true;
  }
  if (body === undefined && (status ?? 200) >= 400) {
    sendError(response, status, "scenario", `the scenario answers ${status}`, headers);
    return true;
  }
  sendText(response, status ?? 200, body ?? "", { "Content-Type": "application/json", ...headers });
  return true;
}
