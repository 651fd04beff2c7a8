// Light or dark: as the system has it, or as chosen here.

const KEY = "theme";

export function followTheme(select) {
  const show = (theme) => {
    document.documentElement.dataset.theme = theme;
    select.value = theme;
  };
  show(localStorage.getItem(KEY) ?? "");
  select.addEventListener("change", () => {
    localStorage.setItem(KEY, select.value);
    show(select.value);
  });
}
