const decimal = (value, digits) => value.toLocaleString("es", { maximumFractionDigits: digits });

export function bytes(count) {
  const units = ["B", "kB", "MB", "GB", "TB"];
  let at = 0;
  let value = count;
  for (; value >= 1000 && at < units.length - 1; at++) value /= 1000;
  return `${decimal(value, value < 10 && at > 1 ? 1 : 0)} ${units[at]}`;
}

export function day(iso) {
  const date = new Date(iso);
  return Number.isNaN(date.getTime()) ? "" : date.toLocaleDateString("es", { day: "numeric", month: "short", year: "numeric" });
}

export const number = (value) => decimal(value, 0);

export function times(count, one, many) {
  return `${number(count)} ${count === 1 ? one : many}`;
}

export const STATES = {
  published: "Publicado",
  uploading: "Subiendo",
  storing: "Guardando",
  withdrawn: "Retirado",
  error: "Con error",
};
