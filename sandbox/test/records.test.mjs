import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { test } from "node:test";

import { decode } from "../records.mjs";
import { Refusal } from "../strictJson.mjs";

/** The bodies that the program's own decoder is held to, too. */
async function bodiesOf(record) {
  return JSON.parse(await readFile(new URL(`../../tests/bodies/${record}.json`, import.meta.url)));
}

function refusalOf(bytes, record) {
  try {
    decode(bytes, record);
  } catch (problem) {
    if (problem instanceof Refusal) {
      return problem.message;
    }
    throw problem;
  }
  return undefined;
}

for (const record of ["ledger", "status", "snapshots"]) {
  test(`of ${record} exactly those bodies are refused that the program refuses, in its words`, async () => {
    for (const { what, body, base64, refused } of await bodiesOf(record)) {
      const refusal = refusalOf(
        Buffer.from(base64 ?? body, base64 === undefined ? "utf8" : "base64"),
        record,
      );
      if (refused === undefined) {
        assert.equal(refusal, undefined, what);
      } else {
        assert.ok(refusal?.startsWith(refused), `${what}: ${refusal}`);
      }
    }
  });
}

test("what is no JSON is told with the line and the column", () => {
  const body = '{\n  "items": [\n    { "item_id": "a", }\n  ]\n}';
  assert.equal(
    refusalOf(Buffer.from(body), "status"),
    "body: not valid JSON (a text is malformed, line 3, column 23)",
  );
});

test("a long text and a long list are read", () => {
  const link = `{"item_id": "${"x".repeat(20_000_000)}", "needs_update": false}`;
  const others = ',{"item_id": "y", "needs_update": true}'.repeat(100_000);
  assert.equal(decode(Buffer.from(`{"items": [${link}${others}]}`), "status").length, 100_001);
});
