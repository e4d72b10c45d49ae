#include "recipe.h"

#include <iostream>
#include <iterator>

#include "errors.h"

namespace tarncli {

Recipe readRecipe(const std::string& path, int product, const std::string& temperatureUnit) {
  tarnblend_recipe* read = nullptr;
  const char* unit = temperatureUnit.empty() ? nullptr : temperatureUnit.c_str();
  int status = TARNBLEND_OK;
  if (path.empty() || path == "-") {
    const std::string text =
        path.empty() ? std::string(sampleRecipe(product)) : std::string(std::istreambuf_iterator<char>(std::cin), {});
    status = tarnblend_recipe_parse(text.data(), text.size(), path.empty() ? "built-in sample" : "standard input",
                                    product, unit, &read);
  } else {
    status = tarnblend_recipe_read(path.c_str(), product, unit, &read);
  }
  if (status != TARNBLEND_OK) throw InputError(tarnblend_last_error());
  Recipe recipe;
  recipe.file.reset(read);
  tarnblend_recipe_model(read, &recipe.model);
  const char *source = "", *quantityUnit = "";
  int basis = TARNBLEND_BASIS_VOLUME;
  tarnblend_recipe_info(read, &source, &basis, &quantityUnit, nullptr);
  recipe.source = source;
  recipe.basis = basis == TARNBLEND_BASIS_MASS ? Basis::Mass : Basis::Volume;
  recipe.quantityUnit = quantityUnit;
  int count = 0;
  tarnblend_model_component_count(recipe.model, &count);
  for (int i = 0; i < count; ++i) {
    double quantity = 0.0;
    tarnblend_recipe_quantity(read, i, &quantity);
    recipe.quantities.push_back(quantity);
  }
  tarnblend_recipe_note_count(read, &count);
  for (int k = 0; k < count; ++k) {
    const char* note = "";
    tarnblend_recipe_note(read, k, &note);
    recipe.notes.push_back(note);
  }
  return recipe;
}

const char* sampleRecipe(int product) {
  if (product == TARNBLEND_DIESEL) {
    return R"(# A winter diesel (EN 590 temperate grade) of four hydrotreated refinery streams, volumes in cubic metres.
# product: diesel
NAME,VOLUME[m3],DEN[kg/m3],IBP[C],T10[C],T30[C],T50[C],T70[C],T90[C],FBP[C],CN,FLASH[C],CLOUD[C],POUR[C],CFPP[C],VISC40[cSt],SUL[mg/kg]
Kerosene,1500,800,150,170,185,200,215,240,260,45,45,-50,-55,-45,1.2,5
Light gas oil,5000,835,190,225,255,275,295,325,350,54,75,-8,-12,-10,2.8,8
Heavy gas oil,2500,860,240,280,305,320,335,355,370,57,110,5,0,2,4.8,9
Light cycle oil,800,905,200,230,250,265,285,320,345,30,80,-15,-20,-18,2.6,12
)";
  }
  if (product == TARNBLEND_JET) {
    return R"(# A jet fuel (kerosene) of three refinery streams, volumes in cubic metres.
# product: jet
NAME,VOLUME[m3],DEN[kg/m3],IBP[C],T10[C],T30[C],T50[C],T70[C],T90[C],FBP[C],FLASH[C],FREEZE[C],VISC40[cSt],SUL[mg/kg],ARO[vol%]
Straight-run kerosene,4000,795,150,168,182,195,210,232,258,42,-50,1.1,900,19
Hydrotreated kerosene,3500,805,155,175,190,204,220,245,270,48,-47,1.3,20,17
Hydrocracked kerosene,2500,790,148,165,178,192,208,232,262,40,-55,1.1,5,8
)";
  }
  return R"(# A summer regular gasoline (E10) of six refinery components, volumes in barrels.
# Ethanol carries its blending RVP at about 10 vol% and its own octane numbers.
NAME,VOLUME[bbl],RVP[psi],IBP[F],T10[F],T30[F],T50[F],T70[F],T90[F],FBP[F],RON,MON,ARO[vol%],OLF[vol%],BNZ[vol%],SUL[ppm],EHO[wt%],ETOH[vol%],SPG
Butane,300,51.6,30,30.5,31,31.5,32,32.5,33,93.8,89.6,0,0.5,0,5,0,0,0.584
Light straight run,1500,11.5,88,108,122,138,154,176,205,70.5,68.2,3.5,1,1.2,8,0,0,0.665
Reformate,3000,4.2,112,162,214,246,277,322,392,97.1,87.2,64,1.2,2.6,1,0,0,0.815
FCC naphtha,3300,6.5,95,126,162,201,259,338,408,91.5,80.3,28,24,0.9,25,0,0,0.745
Alkylate,1900,4.8,102,163,201,221,236,279,384,95.6,93.2,0.3,0.4,0,6,0,0,0.695
Ethanol,1100,18,172,172.5,173,173.3,173.6,174,175,108.6,89.7,0,0,0,5,34.7,100,0.794
)";
}

}  // namespace tarncli
