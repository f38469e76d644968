// What Quillo takes for a ledger, a link status and a snapshot list: docs/backend-api.md as rules, in the order and
// the words of the program's own decoder. tests/bodies holds both to the same bodies.

import { JsonNumber, Refusal, parseJson } from "./strictJson.mjs";

const integerBound = 2n ** 63n;

function kindOf(value) {
  if (value instanceof JsonNumber) {
    return Number.isFinite(value.double) ? "a number" : "a number out of range";
  }
  if (value instanceof Map) {
    return "an object";
  }
  if (Array.isArray(value)) {
    return "an array";
  }
  return { string: "text", boolean: "a boolean" }[typeof value] ?? "null";
}

function refuse(path, expected, found) {
  throw new Refusal(`${path || "body"}: expected ${expected}, found ${found}`);
}

/** A rule that takes values of one kind. A rule throws a Refusal, or returns. */
const ofKind = (kind) => (value, path) => kindOf(value) === kind || refuse(path, kind, kindOf(value));

const text = ofKind("text");
const number = ofKind("a number");
const boolean = ofKind("a boolean");

/** A whole number within 64 bits, however written: 1, 1.0 and 1e0 are the same (RFC 8259, section 6). */
function integer(value, path) {
  const expected = "an integer";
  if (kindOf(value) !== "a number") {
    refuse(path, expected, kindOf(value));
  }
  const { digits, double } = value;
  if (digits !== undefined && digits >= -integerBound && digits < integerBound) {
    return;
  }
  if (!Number.isInteger(double)) {
    refuse(path, expected, "a number with a fraction");
  }
  if (double < -Number(integerBound) || double >= Number(integerBound)) {
    refuse(path, expected, "a number out of range");
  }
}

/** Only for members: one that is missing or null is absent. */
const optional = (rule) =>
  Object.assign((value, path) => value === null || rule(value, path), { isOptional: true });

const list = (rule) => (value, path) => {
  ofKind("an array")(value, path);
  value.forEach((element, index) => rule(element, `${path}[${index}]`));
};

/** Members that `rules` does not name are passed over. */
const object = (rules) => (value, path) => {
  ofKind("an object")(value, path);
  for (const [key, rule] of Object.entries(rules)) {
    const place = path ? `${path}.${key}` : key;
    if (value.has(key)) {
      rule(value.get(key), place);
    } else if (!rule.isOptional) {
      throw new Refusal(`${place}: missing`);
    }
  }
};

const line = object({
  txn_id: optional(text),
  date: text,
  amount: number,
  merchant: optional(text),
  name: optional(text),
  pending: optional(integer),
  running_balance: number,
  synthetic: optional(boolean),
  account_mask: optional(text),
  note: optional(text),
});

const ledger = object({
  total_owed: number,
  pending_holds: number,
  total_with_pending: number,
  credit_limit: number,
  available: number,
  transactions: list(line),
  as_of: text,
});

const link = object({
  item_id: text,
  institution: optional(text),
  error_code: optional(text),
  error_message: optional(text),
  needs_update: boolean,
  needs_add_credit: optional(boolean),
  has_credit_account: optional(boolean),
  bank_outage: optional(object({ areas: list(object({ area: text, status: text })) })),
  hint: optional(text),
});

const snapshot = object({
  snapshot_date: text,
  created_at: text,
  total_owed: optional(number),
  pending_holds: optional(number),
  total_with_pending: optional(number),
  available: optional(number),
  txn_count: integer,
});

/** By the name of the record: its rule, and the member that lists what there may be many of. */
const records = {
  ledger: { rule: ledger, listed: "transactions" },
  status: { rule: object({ items: list(link) }), listed: "items" },
  snapshots: { rule: object({ snapshots: list(snapshot) }), listed: "snapshots" },
};

/**
 * What a body holds as one of the records.
 * @param {Buffer} bytes
 * @param {"ledger" | "status" | "snapshots"} record
 * @returns {Map[]} the lines, links or days in it
 * @throws {Refusal} with the text that a person would read
 */
export function decode(bytes, record) {
  const { rule, listed } = records[record];
  const body = parseJson(bytes);
  rule(body, "");
  return body.get(listed);
}
