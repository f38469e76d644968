// What a test or a curious person may wish the sandbox to be like. README.md, "Scenarios", describes every key.

import { mostLines } from "./bulk.mjs";

const linkNames = ["normal", "outage", "reconnect", "add-card"];
const answerNames = [
  "timeline",
  "status",
  "snapshots",
  "snapshot",
  "sync",
  "refresh",
  "all",
  "authorization",
  "token",
];

/** A wish that cannot be understood: its message goes back to whoever sent it. */
export class ScenarioError extends Error {}

const amount = { test: (value) => Number.isFinite(value), wanted: "a number" };
const flag = { test: (value) => typeof value === "boolean", wanted: "true or false" };
const text = { test: (value) => typeof value === "string", wanted: "a text" };

function whole(least, most) {
  return {
    test: (value) => Number.isInteger(value) && value >= least && value <= most,
    wanted: `a whole number from ${least} to ${most}`,
  };
}

const rules = {
  link: {
    test: (value) => [value].flat().every((one) => linkNames.includes(one)) || Array.isArray(value?.items),
    wanted: `one or a list of ${linkNames.join(", ")}, or {"items": […]}`,
  },
  lines: whole(0, mostLines),
  shortLines: flag,
  totalOwed: amount,
  pending: { test: (value) => value === "none" || amount.test(value), wanted: 'a number or "none"' },
  snapshots: whole(0, 90),
};

const answerRules = {
  status: whole(200, 599),
  body: text,
  headers: {
    test: (value) =>
      value !== null &&
      typeof value === "object" &&
      !Array.isArray(value) &&
      Object.values(value).every(text.test),
    wanted: "an object of texts",
  },
  delayMs: whole(0, 600_000),
  hang: flag,
  drop: flag,
  truncate: flag,
  times: whole(1, 1_000_000),
};

const identityRules = {
  down: flag,
  accessTokenSeconds: whole(1, 86_400),
  emailClaim: {
    test: (value) => value === "none" || text.test(value),
    wanted: 'a text, "none" for no claim',
  },
};

const actionRules = { revokeRefreshTokens: flag, forgetSessions: flag, issueTokensFor: text };

/** The wishes in force. A key sent as null goes back to its default; a key not sent stays as it is. */
export class Scenario {
  #wishes = {};
  #identity = {};
  #answers = {};

  /** Takes a patch whole or, throwing a ScenarioError, not at all. @returns {object} the actions it asks for */
  apply(patch) {
    requireObject(patch, "scenario");
    const { answers = {}, identity = {}, ...rest } = patch;
    const actions = Object.fromEntries(Object.entries(rest).filter(([key]) => key in actionRules));
    const wishes = Object.fromEntries(Object.entries(rest).filter(([key]) => !(key in actionRules)));
    check(wishes, rules, "");
    check(identity ?? {}, identityRules, "identity.");
    check(actions, actionRules, "");
    checkAnswers(answers ?? {});

    merge(this.#wishes, wishes);
    this.#identity = identity === null ? {} : merge(this.#identity, identity);
    this.#answers = answers === null ? {} : merge(this.#answers, structuredClone(answers));
    return actions;
  }

  reset() {
    this.#wishes = {};
    this.#identity = {};
    this.#answers = {};
  }

  get link() {
    return this.#wishes.link ?? "normal";
  }

  /** The length of the ledger; undefined for the sample ledger. */
  get lines() {
    return this.#wishes.lines;
  }

  /** How many daily snapshots there are; undefined for all. */
  get snapshots() {
    return this.#wishes.snapshots;
  }

  /** What is wished of the ledger's amounts and shape. */
  get ledgerWish() {
    const { totalOwed, pending, shortLines } = this.#wishes;
    return { totalOwed, pending, shortLines };
  }

  /** { down?, accessTokenSeconds?, emailClaim? } */
  get identity() {
    return this.#identity;
  }

  get isIdentityDown() {
    return this.#identity.down === true;
  }

  /** The wished answer of an endpoint, counted down when it is for a number of requests only. */
  takeAnswer(endpoint, shared) {
    const name = endpoint in this.#answers ? endpoint : shared;
    const answer = this.#answers[name];
    if (answer?.times !== undefined && --answer.times === 0) {
      delete this.#answers[name];
    }
    return answer;
  }

  /** Links mended by the person, as on the /link page. */
  mendLinks() {
    delete this.#wishes.link;
  }

  toJSON() {
    return { ...this.#wishes, identity: this.#identity, answers: this.#answers };
  }
}

function requireObject(value, name) {
  if (value === null || typeof value !== "object" || Array.isArray(value)) {
    throw new ScenarioError(`${name}: wanted an object`);
  }
}

function check(values, known, prefix) {
  requireObject(values, prefix.slice(0, -1) || "scenario");
  for (const [key, value] of Object.entries(values)) {
    if (!Object.hasOwn(known, key)) {
      throw new ScenarioError(`${prefix}${key}: no such key; known are ${Object.keys(known).join(", ")}`);
    }
    if (value !== null && !known[key].test(value)) {
      throw new ScenarioError(`${prefix}${key}: wanted ${known[key].wanted}`);
    }
  }
}

function checkAnswers(answers) {
  requireObject(answers, "answers");
  for (const [endpoint, answer] of Object.entries(answers)) {
    if (!answerNames.includes(endpoint)) {
      throw new ScenarioError(`answers.${endpoint}: no such endpoint; known are ${answerNames.join(", ")}`);
    }
    if (answer !== null) {
      check(answer, answerRules, `answers.${endpoint}.`);
    }
  }
}

function merge(target, patch) {
  for (const [key, value] of Object.entries(patch)) {
    if (value === null) {
      delete target[key];
    } else {
      target[key] = value;
    }
  }
  return target;
}
