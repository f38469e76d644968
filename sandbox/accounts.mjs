// Who may use the sandbox. Nothing here protects anything: the data is made up and every listener is on loopback.

export const apiKey = "quillo-sandbox-api-key-5f1d0c9a";

export const accounts = [
  { id: "person-1", email: "robin@quillo.example", name: "Robin Sample", password: "paper-lantern-42" },
];

export function accountWithEmail(email) {
  return accounts.find((one) => one.email === String(email).trim().toLowerCase());
}

export function accountWithId(id) {
  return accounts.find((one) => one.id === id);
}
