// Where the provider keeps sessions, codes and tokens: in memory, for as long as the process lives.

/** Storage behind oidc-provider's models, with the two wholesale clearings that scenarios ask for. */
export class IdentityStore {
  #entries = new Map();

  /** The adapter class that oidc-provider makes one of for each of its models. */
  adapter() {
    const store = this;
    return class Adapter {
      constructor(model) {
        this.model = model;
      }

      async upsert(id, payload, expiresIn) {
        const expires = expiresIn ? Date.now() + expiresIn * 1000 : Infinity;
        store.#entries.set(this.#key(id), { model: this.model, payload, expires });
      }

      async find(id) {
        return store.#live(this.#key(id))?.payload;
      }

      async findByUid(uid) {
        return store.#payloads(this.model).find((payload) => payload.uid === uid);
      }

      async findByUserCode(userCode) {
        return store.#payloads(this.model).find((payload) => payload.userCode === userCode);
      }

      async consume(id) {
        const entry = store.#live(this.#key(id));
        if (entry) {
          entry.payload.consumed = Math.floor(Date.now() / 1000);
        }
      }

      async destroy(id) {
        store.#entries.delete(this.#key(id));
      }

      async revokeByGrantId(grantId) {
        store.#removeWhere((entry) => entry.model === this.model && entry.payload.grantId === grantId);
      }

      #key(id) {
        return `${this.model}:${id}`;
      }
    };
  }

  /** Every refresh token becomes unknown; access tokens, being self-contained, live out their time. */
  revokeRefreshTokens() {
    this.#removeWhere((entry) => entry.model === "RefreshToken");
  }

  /** No browser is signed in any more: the next authorisation shows the form again. */
  forgetSessions() {
    this.#removeWhere((entry) => entry.model === "Session");
  }

  clear() {
    this.#entries.clear();
  }

  #live(key) {
    const entry = this.#entries.get(key);
    if (entry && entry.expires <= Date.now()) {
      this.#entries.delete(key);
      return undefined;
    }
    return entry;
  }

  #payloads(model) {
    return [...this.#entries.keys()]
      .map((key) => this.#live(key))
      .filter((entry) => entry?.model === model)
      .map((entry) => entry.payload);
  }

  #removeWhere(matches) {
    for (const [key, entry] of this.#entries) {
      if (matches(entry)) {
        this.#entries.delete(key);
      }
    }
  }
}
