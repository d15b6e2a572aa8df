// Values, limits and reasons as engineers read them.

const NUMBERS = /^(U?Int(16|32|64)|Float|Double)$/;

/** Whether a description is one of a number. */
export const isNumber = (description) => NUMBERS.test(description.kind);

/** Whether a node only holds others. */
export const isGroup = (node) =>
    node.index < 0 ||
    node.description.kind === "Group" ||
    (node.description.isUnknown && node.kids.length > 0);

/** Whether it has a course that can be drawn. */
export const isPlottable = (node) => isNumber(node.description) || node.description.kind === "Bool";

/** null, a text or a list of texts as a list. */
export const asList = (values) => (values === null ? [] : Array.isArray(values) ? values : [values]);

/** A number for plots; NaN for none. Booleans are 0 and 1. */
export function asNumber(values) {
    const text = typeof values === "string" ? values : "";
    return text === "true" ? 1 : text === "false" ? 0 : text === "" ? NaN : Number(text);
}

/** "0a:0b:0c:0d:0e:0f" of the number that stands for it; other texts as they are. */
export function macText(text) {
    if (!/^\d{1,15}$/.test(text) || BigInt(text) >= 1n << 48n) {
        return text;
    }
    return BigInt(text).toString(16).padStart(12, "0").match(/../g).join(":");
}

/** The number of "0a:0b:…"; other texts as they are. */
export function macNumber(text) {
    const digits = text.trim().replace(/[:.-]/g, "");
    return /^[\da-f]{12}$/i.test(digits) && !/^\d+$/.test(text.trim()) ? String(BigInt(`0x${digits}`)) : text;
}

/** Whole numbers in groups of three with a thin space; other texts as they are. */
function grouped(text) {
    return /^-?\d{5,}$/.test(text) ? text.replace(/\B(?=(\d{3})+$)/g, "\u202f") : text;
}

/** What a node holds, without its unit. */
export function valueText(values, description, separator = ", ") {
    const show = (text) => {
        if (description.kind === "MacAddress") {
            return macText(text);
        }
        return isNumber(description) ? grouped(text) : text;
    };
    const list = asList(values);
    if (list.length === 0) {
        return "–";
    }
    if (description.kind === "Bool" && list.length === 1) {
        return list[0] === "true" ? "on" : list[0] === "false" ? "off" : list[0];
    }
    return list.map(show).join(separator);
}

/** "Int32, from 0 to 15 dB, read only". */
export function limitsText(description) {
    const { kind = "Text", min, max, least = 0, most = Infinity, unit, unique, readOnly } = description;
    if (description.isUnknown) {
        return "Not described";
    }
    const words = [kind];
    const of = unit ? `\u00a0${unit}` : "";
    if (min !== undefined && max !== undefined) {
        words.push(`${min} to ${max}${of}`);
    } else if (min !== undefined) {
        words.push(`from ${min}${of}`);
    } else if (max !== undefined) {
        words.push(`up to ${max}${of}`);
    }
    if (most !== 1 && most < 2147483647) {
        words.push(least === most ? `${most} values` : `${least} to ${most} values`);
    } else if (least > 1) {
        words.push(`at least ${least} values`);
    }
    return [...words, ...(unique ? ["no value twice"] : []), ...(readOnly ? ["read only"] : [])].join(" · ");
}

/** "14:03:05.123" of the local day. */
export function timeText(ms) {
    const at = new Date(ms);
    const part = (number, digits = 2) => String(number).padStart(digits, "0");
    const clock = [at.getHours(), at.getMinutes(), at.getSeconds()].map((number) => part(number));
    return `${clock.join(":")}.${part(at.getMilliseconds(), 3)}`;
}

/** "1 node", "2 nodes". */
export const count = (number, one, many = `${one}s`) => `${number} ${number === 1 ? one : many}`;
