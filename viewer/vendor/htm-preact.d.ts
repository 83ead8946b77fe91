// What the library's one file with everything in it has; the packages describe it in parts.
export * from "preact";
export * from "preact/hooks";
import { VNode } from "preact";
export function html(strings: TemplateStringsArray, ...values: any[]): VNode;
